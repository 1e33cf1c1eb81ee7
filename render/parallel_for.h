// The only source of threads: rows, columns or blocks shared out over threads that live for one
// call. Knows nothing of pictures.
#pragma once

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

namespace varno {

/// How many hardware threads parallel_for counts on; asked anew on each call. Points to the
/// system's count; tests may put another function here while nothing runs.
extern unsigned (*gThreadHardware)();

/// How count items are shared out: contiguous chunks of passo items, the last one perhaps smaller.
/// Below 16 items or 2 hardware threads it is one part, on the calling thread.
struct Parti {
    std::uint64_t count = 0;
    std::uint64_t passo = 0;   // items of a chunk
    std::uint64_t quante = 0;  // chunks; 0 where there are no items
};

/// The parts of a loop on hc hardware threads, for callers who lay out memory for each.
inline Parti parti_di(std::uint64_t count, std::uint64_t hc)
{
    if (hc < 2 || count < 16)
        return {count, count, count > 0 ? 1u : 0u};
    const std::uint64_t T = std::min(hc, count);
    const std::uint64_t passo = (count + T - 1) / T;
    return {count, passo, (count + passo - 1) / passo};
}

/// Runs body(part, begin, end) over the parts on short-lived threads, all joined before it returns;
/// a single part on the calling thread. The body is shared by all threads, never copied; it writes
/// only the output of its own indices and the memory of its own part. Nothing is caught: an
/// exception on a worker, or a thread that fails to start while others run, ends the process; one
/// from the first thread's start reaches the caller.
template <class Corpo> void parallel_for_parti(const Parti& parti, Corpo&& corpo)
{
    if (parti.passo == parti.count) {
        if (parti.count > 0)
            corpo(std::uint64_t{0}, std::uint64_t{0}, parti.count);
        return;
    }
    std::vector<std::thread> thread;
    thread.reserve(parti.quante);
    for (std::uint64_t i = 0; i < parti.quante; ++i) {
        const std::uint64_t begin = i * parti.passo;
        const std::uint64_t end = std::min(begin + parti.passo, parti.count);
        thread.emplace_back([&corpo, i, begin, end] { corpo(i, begin, end); });
    }
    for (std::thread& t : thread)
        t.join();
}

/// The same, body(begin, end).
template <class Corpo> void parallel_for_blocchi(std::uint64_t count, Corpo&& corpo)
{
    parallel_for_parti(
        parti_di(count, gThreadHardware()),
        [&corpo](std::uint64_t, std::uint64_t begin, std::uint64_t end) { corpo(begin, end); });
}

/// The same, one index at a time: body(0) .. body(count - 1), ascending within a chunk.
template <class Corpo> void parallel_for(std::uint64_t count, Corpo&& corpo)
{
    parallel_for_blocchi(count, [&corpo](std::uint64_t begin, std::uint64_t end) {
        for (std::uint64_t i = begin; i < end; ++i)
            corpo(i);
    });
}

/// Threads that go through several loops together, for work that may neither allocate nor fail
/// between them.
struct Squadra {
    explicit Squadra(std::uint64_t n) : quanti(n) {}

    /// Returns when all have come here.
    void aspetta()
    {
        std::unique_lock<std::mutex> guardia(mutex_giro);
        if (++arrivati == quanti) {
            arrivati = 0;
            ++giro;
            tutti.notify_all();
            return;
        }
        tutti.wait(guardia, [this, questo = giro] { return giro != questo; });
    }

    const std::uint64_t quanti;

  private:
    std::mutex mutex_giro;
    std::condition_variable tutti;
    std::uint64_t arrivati = 0;
    std::uint64_t giro = 0;
};

/// One of them. What it calls, all the others call too, in the same order.
struct Membro {
    Squadra& squadra;
    std::uint64_t quale;

    /// A loop: body(part, begin, end) over the parts, done when this returns. In signed numbers, as
    /// pictures count.
    template <class Corpo> void per_parti(std::int64_t count, const Corpo& corpo) const
    {
        const Parti p = parti_di(static_cast<std::uint64_t>(count), squadra.quanti);
        const auto passo = static_cast<std::int64_t>(p.passo);
        const auto parte = static_cast<std::int64_t>(quale);
        if (quale < p.quante)
            corpo(parte, parte * passo, std::min(count, (parte + 1) * passo));
        squadra.aspetta();
    }

    /// What one does for all.
    template <class Azione> void uno(const Azione& azione) const
    {
        if (quale == 0)
            azione();
        squadra.aspetta();
    }
};

/// Starts the threads, each of which runs corpo(member) to its end; where it is one, it is the
/// calling one. Starting them fails as in parallel_for_parti.
template <class Corpo> void in_squadra(std::uint64_t quanti, const Corpo& corpo)
{
    Squadra squadra(quanti);
    parallel_for_parti({quanti, 1, quanti}, [&](std::uint64_t quale, std::uint64_t, std::uint64_t) {
        corpo(Membro{squadra, quale});
    });
}

}  // namespace varno
