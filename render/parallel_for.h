#pragma once

#include <algorithm>
#include <cstdint>
#include <thread>
#include <vector>

namespace varno {

/// How many hardware threads parallel_for counts on; asked anew on each call. Points to the
/// system's count; tests may put another function here while nothing runs.
extern unsigned (*gThreadHardware)();

/// Runs body(begin, end) over contiguous chunks of 0..count on short-lived threads, all joined
/// before it returns; below 16 items or 2 hardware threads it is one call on the calling thread,
/// with count 0 none. The body is shared by all threads, never copied; it writes only the output
/// of its own indices. Nothing is caught: an exception on a worker, or a thread that fails to
/// start while others run, ends the process; one from the first thread's start reaches the caller.
template <class Corpo> void parallel_for_blocchi(std::uint64_t count, Corpo&& corpo)
{
    const unsigned hc = gThreadHardware();
    if (hc < 2 || count < 16) {
        if (count > 0)
            corpo(std::uint64_t{0}, count);
        return;
    }
    const std::uint64_t T = std::min<std::uint64_t>(hc, count);
    const std::uint64_t chunk = (count + T - 1) / T;
    std::vector<std::thread> thread;
    thread.reserve(T);
    for (std::uint64_t i = 0; i < T; ++i) {
        const std::uint64_t begin = i * chunk;
        const std::uint64_t end = std::min(begin + chunk, count);
        if (begin >= end)
            break;
        thread.emplace_back([&corpo, begin, end] { corpo(begin, end); });
    }
    for (std::thread& t : thread)
        t.join();
}

/// The same, one index at a time: body(0) .. body(count - 1), ascending within a chunk.
template <class Corpo> void parallel_for(std::uint64_t count, Corpo&& corpo)
{
    parallel_for_blocchi(count, [&corpo](std::uint64_t begin, std::uint64_t end) {
        for (std::uint64_t i = begin; i < end; ++i)
            corpo(i);
    });
}

}  // namespace varno
