#include "thread_finti.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

using namespace varno;

TEST_CASE("parallel_for splits into contiguous chunks and visits every index once")
{
    struct Caso {
        std::uint64_t count;
        unsigned hc;
        std::size_t pezzi;     // chunks, 0 for no call at all
        std::uint64_t ultimo;  // first index of the last chunk
        bool sul_chiamante;
    };
    // clang-format off
    constexpr Caso casi[] = {
        {  0, 64,  0,  0, true },
        {  1, 64,  1,  0, true },
        { 15, 64,  1,  0, true },
        { 16, 64, 16, 15, false},
        { 16,  1,  1,  0, true },
        { 16,  0,  1,  0, true },
        { 17, 16,  9, 16, false},  // chunk 2: nine threads, the last with one item
        {100,  8,  8, 91, false},  // chunk 13
        {100,  2,  2, 50, false},
    };
    // clang-format on
    for (const Caso& caso : casi) {
        CAPTURE(caso.count);
        CAPTURE(caso.hc);
        const ThreadFinti finti(caso.hc);
        std::mutex m;
        std::vector<std::pair<std::uint64_t, std::uint64_t>> pezzi;
        std::vector<std::thread::id> chi;
        parallel_for_blocchi(caso.count, [&](std::uint64_t inizio, std::uint64_t fine) {
            const std::lock_guard<std::mutex> guardia(m);
            pezzi.emplace_back(inizio, fine);
            chi.push_back(std::this_thread::get_id());
        });
        std::sort(pezzi.begin(), pezzi.end());
        REQUIRE(pezzi.size() == caso.pezzi);
        std::uint64_t atteso = 0;
        for (const auto& [inizio, fine] : pezzi) {
            CHECK(inizio == atteso);
            CHECK(fine > inizio);
            atteso = fine;
        }
        CHECK(atteso == caso.count);
        if (!pezzi.empty())
            CHECK(pezzi.back().first == caso.ultimo);
        for (const std::thread::id id : chi)
            CHECK((id == std::this_thread::get_id()) == caso.sul_chiamante);

        std::vector<int> visite(caso.count, 0);
        std::vector<std::uint64_t> ordine;
        parallel_for(caso.count, [&](std::uint64_t i) {
            const std::lock_guard<std::mutex> guardia(m);
            ++visite[i];
            ordine.push_back(i);
        });
        CHECK(std::all_of(visite.begin(), visite.end(), [](int v) { return v == 1; }));
        if (caso.sul_chiamante)
            CHECK(std::is_sorted(ordine.begin(), ordine.end()));
    }
}
