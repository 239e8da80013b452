#pragma once

#include <atomic>
#include <cstdint>

#include "quarn/base/export.h"

/// A counter for the objects of class T, which tells their changes apart in time: `McTimeStamp<T>::s_nextTimeStamp++`
/// gives a number that no other caller gets, in any thread. It starts at 0 and is never reset.
///
/// All shared libraries see one counter, also those loaded at run time, provided that T itself is exported.
template <class T>
class QUARN_BASE_API McTimeStamp {
public:
  inline static constinit std::atomic<std::uint64_t> s_nextTimeStamp{0};
};
