#pragma once
// State of the pattern matching: the pair tables of the selected stars.
#include <array>
#include <cstdint>

namespace tornel {

// An 11 x 11 table over star indices 0 to 10, used from 1, written for i below j at (i, j).
template <class T>
using PairTable = std::array<std::array<T, 11>, 11>;

struct SearchState {
    PairTable<double> mDistanciasPantalla{};     // minutes of arc
    PairTable<double> mInclinacionesPantalla{};  // degrees, 0 to 180, from the north
    PairTable<int32_t> mOrdenPantalla{};         // 1: star i nearer the north pole than star j; 2: not
};

}  // namespace tornel
