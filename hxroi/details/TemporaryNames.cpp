#include "hxroi/details/TemporaryNames.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <ctime>
#include <sys/time.h>

namespace hxroi::details::TemporaryNames {

namespace {

constexpr std::string_view kTimePattern =
    "dddddddd"
    "T"
    "dddddd"
    "."
    "dddddd";
constexpr std::string_view kMarkBegin = "owner-";
constexpr std::string_view kMarkEnd = ".lock";

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

/// Takes a text of that pattern, d for a digit, from the front.
bool takePattern(std::string_view& rest, std::string_view pattern) {
  if (rest.size() < pattern.size()) return false;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] == 'd' ? !isDigit(rest[i]) : rest[i] != pattern[i]) return false;
  }
  rest.remove_prefix(pattern.size());
  return true;
}

/// Takes a number from the front.
std::optional<long> takeNumber(std::string_view& rest) {
  if (rest.empty() || !isDigit(rest.front())) return std::nullopt;
  long value = 0;
  const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), value);
  if (error != std::errc()) return std::nullopt;
  rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
  return value;
}

bool takeDash(std::string_view& rest) {
  return takePattern(rest, "-");
}

}  // namespace

std::string timeNow() {
  timeval now{};
  ::gettimeofday(&now, nullptr);
  std::tm utc{};
  ::gmtime_r(&now.tv_sec, &utc);
  std::array<char, 80> text{};
  std::snprintf(text.data(), text.size(), "%04d%02d%02dT%02d%02d%02d.%06ld", utc.tm_year + 1900, utc.tm_mon + 1,
                utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec, static_cast<long>(now.tv_usec));
  return text.data();
}

std::string stem(const std::string& time, int counter, long process) {
  return time + "-" + std::to_string(counter) + "-" + std::to_string(process);
}

std::optional<Stem> stemOf(std::string_view fileName) {
  std::string_view rest = fileName;
  if (!takePattern(rest, kTimePattern) || !takeDash(rest)) return std::nullopt;
  const std::optional<long> counter = takeNumber(rest);
  if (!counter || !takeDash(rest)) return std::nullopt;
  const std::optional<long> process = takeNumber(rest);
  if (!process || !rest.starts_with('.')) return std::nullopt;
  return Stem{std::string(fileName.substr(0, fileName.size() - rest.size())),
              std::string(fileName.substr(0, kTimePattern.size())), *counter, *process, rest.starts_with(".spill")};
}

std::string ownerMark(long process, int number) {
  return std::string(kMarkBegin) + std::to_string(process) + "-" + std::to_string(number) + std::string(kMarkEnd);
}

std::optional<long> processOfMark(std::string_view fileName) {
  std::string_view rest = fileName;
  if (!takePattern(rest, kMarkBegin)) return std::nullopt;
  const std::optional<long> process = takeNumber(rest);
  const bool isMark = process && takeDash(rest) && takeNumber(rest) && rest == kMarkEnd;
  return isMark ? process : std::nullopt;
}

}  // namespace hxroi::details::TemporaryNames
