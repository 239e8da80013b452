#pragma once

/// Functors that the standard library lacks.
namespace hxstlhelpers {

/// The logical complement: not a. (std::negate<bool> is the arithmetic one and gives a back.)
template <class T>
struct Negate {
  constexpr T operator()(const T& a) const { return !a; }
};

}  // namespace hxstlhelpers
