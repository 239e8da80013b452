#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "quarn/kernel/io/NrrdHeader.h"

/// The words of NRRD headers.
namespace quarn::detail::nrrd {

constexpr std::string_view magic = "NRRD000";
constexpr int newestVersion = 5;

struct TypeWords {
  const char* name;  ///< the one that is written
  std::int64_t bytes;
};

/// By NrrdHeader::Type.
constexpr std::array<TypeWords, 10> types = {{{"int8", 1},
                                              {"uint8", 1},
                                              {"int16", 2},
                                              {"uint16", 2},
                                              {"int32", 4},
                                              {"uint32", 4},
                                              {"int64", 8},
                                              {"uint64", 8},
                                              {"float", 4},
                                              {"double", 8}}};

template <class Value>
struct Word {
  std::string_view name;
  Value value;
};

using Type = NrrdHeader::Type;
using Encoding = NrrdHeader::Encoding;

constexpr Word<Type> typeWords[] = {{"signed char", Type::int8},
                                    {"int8", Type::int8},
                                    {"int8_t", Type::int8},
                                    {"uchar", Type::uint8},
                                    {"unsigned char", Type::uint8},
                                    {"uint8", Type::uint8},
                                    {"uint8_t", Type::uint8},
                                    {"short", Type::int16},
                                    {"short int", Type::int16},
                                    {"signed short", Type::int16},
                                    {"signed short int", Type::int16},
                                    {"int16", Type::int16},
                                    {"int16_t", Type::int16},
                                    {"ushort", Type::uint16},
                                    {"unsigned short", Type::uint16},
                                    {"unsigned short int", Type::uint16},
                                    {"uint16", Type::uint16},
                                    {"uint16_t", Type::uint16},
                                    {"int", Type::int32},
                                    {"signed int", Type::int32},
                                    {"int32", Type::int32},
                                    {"int32_t", Type::int32},
                                    {"uint", Type::uint32},
                                    {"unsigned int", Type::uint32},
                                    {"uint32", Type::uint32},
                                    {"uint32_t", Type::uint32},
                                    {"longlong", Type::int64},
                                    {"long long", Type::int64},
                                    {"long long int", Type::int64},
                                    {"signed long long", Type::int64},
                                    {"signed long long int", Type::int64},
                                    {"int64", Type::int64},
                                    {"int64_t", Type::int64},
                                    {"ulonglong", Type::uint64},
                                    {"unsigned long long", Type::uint64},
                                    {"unsigned long long int", Type::uint64},
                                    {"uint64", Type::uint64},
                                    {"uint64_t", Type::uint64},
                                    {"float", Type::float32},
                                    {"double", Type::float64}};

/// The first word of each encoding is the one that is written.
constexpr Word<Encoding> encodingWords[] = {
    {"raw", Encoding::raw},    {"txt", Encoding::text},    {"text", Encoding::text},
    {"ascii", Encoding::text}, {"hex", Encoding::hex},     {"gzip", Encoding::gzip},
    {"gz", Encoding::gzip},    {"bzip2", Encoding::bzip2}, {"bz2", Encoding::bzip2}};

constexpr Word<NrrdHeader::Endian> endianWords[] = {{"little", NrrdHeader::Endian::little},
                                                    {"big", NrrdHeader::Endian::big}};

struct SpaceWords {
  std::string_view name;
  std::string_view shortName;
  int dimension;
};

constexpr SpaceWords spaces[] = {{"right-anterior-superior", "ras", 3},
                                 {"left-anterior-superior", "las", 3},
                                 {"left-posterior-superior", "lps", 3},
                                 {"right-anterior-superior-time", "rast", 4},
                                 {"left-anterior-superior-time", "last", 4},
                                 {"left-posterior-superior-time", "lpst", 4},
                                 {"scanner-xyz", "scanner-xyz", 3},
                                 {"scanner-xyz-time", "scanner-xyz-time", 4},
                                 {"3d-right-handed", "3d-right-handed", 3},
                                 {"3d-left-handed", "3d-left-handed", 3},
                                 {"3d-right-handed-time", "3d-right-handed-time", 4},
                                 {"3d-left-handed-time", "3d-left-handed-time", 4}};

/// Names of fields; their blanks may be left out.
constexpr std::string_view fields[] = {"type",
                                       "dimension",
                                       "sizes",
                                       "space",
                                       "space dimension",
                                       "space directions",
                                       "space origin",
                                       "space units",
                                       "spacings",
                                       "kinds",
                                       "endian",
                                       "encoding",
                                       "data file",
                                       "line skip",
                                       "byte skip",
                                       "measurement frame",
                                       "thicknesses",
                                       "axis mins",
                                       "axis maxs",
                                       "centers",
                                       "centerings",
                                       "labels",
                                       "units",
                                       "sample units",
                                       "content",
                                       "number",
                                       "min",
                                       "max",
                                       "old min",
                                       "old max",
                                       "block size"};

}  // namespace quarn::detail::nrrd
