// Another count of hardware threads for a while.
#pragma once

#include "render/parallel_for.h"

/// Makes parallel_for count on n hardware threads while it lives; not while anything runs.
struct ThreadFinti {
    explicit ThreadFinti(unsigned n) : prima(varno::gThreadHardware)
    {
        quanti = n;
        varno::gThreadHardware = [] { return quanti; };
    }
    ~ThreadFinti() { varno::gThreadHardware = prima; }
    ThreadFinti(const ThreadFinti&) = delete;
    ThreadFinti& operator=(const ThreadFinti&) = delete;

  private:
    static inline unsigned quanti = 1;
    unsigned (*prima)();
};
