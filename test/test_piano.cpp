#include "comune/piano.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <cstdint>
#include <new>
#include <vector>

using namespace varno;

TEST_CASE("a plane starts as zeros, moves with its memory and can be filled")
{
    Piano p(1000);
    CHECK(std::all_of(p.begin(), p.end(), [](float v) { return v == 0.0f; }));
    p[999] = 3.0f;
    const float* dove = p.data();
    Piano q(std::move(p));
    CHECK(q.data() == dove);
    CHECK(q[999] == 3.0f);
    Piano r(7, 0.5f);
    r = std::move(q);
    CHECK(r.size() == 1000);
    r.azzera(5);
    CHECK(r.size() == 5);
    CHECK(r[4] == 0.0f);
    CHECK(Piano(0).empty());
    CHECK(copia_di(Piano(3, 2.0f))[2] == 2.0f);
}

TEST_CASE("an arena hands a free block on and never one that is in use")
{
    // Small blocks and large ones have their memory from different places.
    for (const std::size_t n : {std::size_t{5000}, std::size_t{9} << 20}) {
        CAPTURE(n);
        Arena arena;
        Piano a = piano_di_lavoro(n, &arena);
        const float* primo = nullptr;
        {
            Piano b = piano_di_lavoro(n, &arena);
            primo = b.data();
            std::fill(a.begin(), a.end(), 1.0f);
            std::fill(b.begin(), b.end(), 2.0f);
            CHECK(std::all_of(a.begin(), a.end(), [](float v) { return v == 1.0f; }));
        }
        Piano c = piano_di_lavoro(n, &arena);
        CHECK(c.data() == primo);
        Piano d = piano_di_lavoro(n - 100, &arena);  // nothing is free
        CHECK(d.data() != primo);
        CHECK(d.data() != a.data());
        c = Piano();  // c's memory is free again
        const Piano briciola = piano_di_lavoro(10, &arena);
        CHECK(briciola.data() != primo);  // too small to deserve the block
        CHECK(piano_di_lavoro(n - 100, &arena).data() == primo);
        CHECK(arena.quanti == 4);
    }
}

TEST_CASE("an arena that is full leaves planes to the system")
{
    Arena arena;
    std::vector<Piano> piani;
    for (int i = 0; i < Arena::MASSIMO + 5; ++i) {
        piani.push_back(piano_di_lavoro(100, &arena));
        std::fill(piani.back().begin(), piani.back().end(), static_cast<float>(i));
    }
    CHECK(arena.quanti == Arena::MASSIMO);
    for (int i = 0; i < Arena::MASSIMO + 5; ++i)
        CHECK(piani[static_cast<std::size_t>(i)][99] == static_cast<float>(i));
}

TEST_CASE("a size that cannot be had is bad_alloc and leaves the arena as it was")
{
    Arena arena;
    for (const std::size_t n : {SIZE_MAX, SIZE_MAX / 4, SIZE_MAX / 4 - 4, SIZE_MAX / 8 + 1}) {
        CAPTURE(n);
        CHECK_THROWS_AS(Piano{n}, std::bad_alloc);
        CHECK_THROWS_AS(piano_di_lavoro(n, nullptr), std::bad_alloc);
        CHECK_THROWS_AS(piano_di_lavoro(n, &arena), std::bad_alloc);
    }
    // A size that only the system refuses; address sanitizers would stop at malloc with it.
    CHECK_THROWS_AS(piano_di_lavoro(SIZE_MAX / 8, &arena), std::bad_alloc);
    CHECK(arena.quanti == 0);
    CHECK(piano_di_lavoro(10, &arena).size() == 10);
}
