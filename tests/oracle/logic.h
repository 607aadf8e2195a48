// Naive twins of And, Or and Xor.
#pragma once

#include "support/test_image.h"

namespace ko::oracle {

enum class Logic { And, Or, Xor };

template <class T>
void combine(Logic operation, const test::TestImage& src, test::TestImage& dst, T value)
{
    dst.forEachSample([&](int x, int y, int) {
        const bool s = src.get<T>(x, y) != 0, d = dst.get<T>(x, y) != 0;
        bool set = false;
        switch (operation) {
        case Logic::And:
            set = s && d;
            break;
        case Logic::Or:
            set = s || d;
            break;
        case Logic::Xor:
            set = (s && !d) || (!s && d);
            break;
        }
        dst.set<T>(x, y, set ? value : T(0));
    });
}

template <class T>
void passThroughXor(const test::TestImage& src, test::TestImage& dst)
{
    dst.forEachSample([&](int x, int y, int) {
        const T s = src.get<T>(x, y), d = dst.get<T>(x, y);
        if (s != 0)
            dst.set<T>(x, y, d != 0 ? T(0) : s);
        else if (d == 0)
            dst.set<T>(x, y, T(0));
    });
}

}  // namespace ko::oracle
