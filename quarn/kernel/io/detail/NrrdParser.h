#pragma once

#include <QString>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/kernel/io/NrrdHeader.h"

namespace quarn::detail {

/// Reads one NRRD header; see NrrdHeader::parse(). The bytes must outlive the object.
class NrrdParser {
public:
  NrrdParser(std::string_view bytes, const QString& file);

  NrrdHeader parse();

private:
  bool nextLine(std::string_view& line);
  void readMagic();
  void readLines();
  void noteLine(std::string_view line);
  void noteField(std::string_view name, std::string_view value);
  void interpret();
  void readSizes();
  void readSpace();
  void readSpaceDirections();
  void readEncoding();
  void readDataFile();

  const std::string* field(const std::string& name) const;
  const std::string& required(const std::string& name) const;
  std::int64_t integer(const std::string& name, std::int64_t least, std::int64_t most) const;
  std::vector<std::string_view> words(const std::string& name) const;
  NrrdHeader::Vector vector(const std::string& name, std::string_view text) const;

  /// The value that a word of a list stands for.
  template <class Words>
  auto chosen(const std::string& name, const Words& known) const {
    const std::string& text = required(name);
    const auto* const found = std::ranges::find_if(known, [&](const auto& word) { return word.name == lowered(text); });
    if (found == std::end(known)) refuseField(name, "is not known", text);
    return found->value;
  }

  static std::string lowered(std::string_view text);

  [[noreturn]] void refuse(const std::string& what) const;
  [[noreturn]] void refuseField(const std::string& name, const std::string& what, std::string_view value) const;

  const std::string_view bytes_;
  const std::string file_;
  std::size_t position_ = 0;
  bool hasEnd_ = false;  ///< the empty line behind the header was there
  std::map<std::string, std::string> fields_;
  NrrdHeader header_;
};

}  // namespace quarn::detail
