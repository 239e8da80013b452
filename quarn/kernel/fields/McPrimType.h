#pragma once

#include <cstdint>

/// The type of the values of an array.
enum class McPrimType : std::uint8_t { Uint8, Int8, Uint16, Int16, Uint32, Int32, Float, Double };
