// Included before everything else into sources that hold all of their mutants at once. Which of
// them is in force, and which were met, stands in a file that every process of a test maps: one
// number, then one byte a mutant.
#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <type_traits>

namespace mutants {

inline constexpr unsigned most = 60000;

struct Board {
    std::uint32_t inForce;
    unsigned char met[most];
};

inline Board* board() {
    static Board* const mapped = [] {
        const int file = ::open(MUTANTS_BOARD, O_RDWR | O_CLOEXEC);
        void* const memory =
            file < 0 ? MAP_FAILED
                     : ::mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        if (file >= 0) {
            ::close(file);
        }
        return memory == MAP_FAILED ? nullptr : static_cast<Board*>(memory);
    }();
    return mapped;
}

/// Mapped before the program changes what it may do.
[[gnu::used]] inline Board* const early = board();

inline bool isInForce(unsigned number) {
    Board* const known = board();
    if (known == nullptr) {
        return false;
    }
    known->met[number] = 1;
    return known->inForce == number;
}

/// Whether this mutant is in force. What the compiler works out stays as it was written.
constexpr bool on(unsigned number) {
    return !__builtin_is_constant_evaluated() && isInForce(number);
}

}  // namespace mutants

#define MUTANT_OPERATOR(name, written, changed)                                                 \
    namespace mutants {                                                                         \
    template <class Left, class Right>                                                          \
    constexpr auto name(unsigned number, Left&& left, Right&& right)                            \
        -> std::decay_t<decltype(left written right)> {                                         \
        if (on(number)) {                                                                       \
            return static_cast<std::decay_t<decltype(left written right)>>(left changed right); \
        }                                                                                       \
        return left written right;                                                              \
    }                                                                                           \
    }
MUTANT_OPERATOR(less, <, <=)
MUTANT_OPERATOR(lessEqual, <=, <)
MUTANT_OPERATOR(greater, >, >=)
MUTANT_OPERATOR(greaterEqual, >=, >)
MUTANT_OPERATOR(equal, ==, !=)
MUTANT_OPERATOR(unequal, !=, ==)
MUTANT_OPERATOR(plus, +, -)
MUTANT_OPERATOR(minus, -, +)
MUTANT_OPERATOR(times, *, +)
MUTANT_OPERATOR(divided, /, *)
MUTANT_OPERATOR(rest, %, *)
MUTANT_OPERATOR(bitAnd, &, |)
MUTANT_OPERATOR(bitOr, |, &)
#undef MUTANT_OPERATOR
