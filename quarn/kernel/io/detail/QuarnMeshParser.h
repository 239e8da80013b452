#pragma once

#include <QByteArray>
#include <QString>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/kernel/params/HxParamBundle.h"

namespace quarn::detail {

/// Reads the text of a parameter file, one pass, one line at a time. Everything it holds is bounded by the size of the
/// text; nothing in the text is evaluated.
class QuarnMeshParser {
public:
  /// `name` stands for the file in errors; both must outlive the parser.
  QuarnMeshParser(const QByteArray& text, const QString& name, int maxDepth);

  /// Fills `parameters`, which must be empty. Throws McException naming file, line, element and value.
  void parseInto(HxParamBundle& parameters);

private:
  struct Open {
    HxParamBundle* bundle;
    std::set<std::string> names;
  };

  bool nextLine();
  void readHeader();
  void readRoot(HxParamBundle& parameters);
  void readElements();
  void readElement();
  void readValue(const std::string& name, std::string_view type);
  void readChecksum();
  void add(std::unique_ptr<HxParamBase> element);
  std::vector<double> readReals(const std::string& name);
  double readReal(const std::string& name, std::string_view word);
  std::string_view nextWord();
  [[noreturn]] void fail(const std::string& what) const;
  [[noreturn]] void failAt(const std::string& element, const std::string& what, std::string_view value) const;

  std::string_view text_;
  const QString& name_;
  const int maxDepth_;
  std::size_t lineBegin_ = 0;  ///< of the line in hand
  std::size_t nextBegin_ = 0;  ///< of the line after it
  int line_ = 0;
  int elements_ = 0;
  std::string_view rest_;  ///< what is left of the line
  std::vector<Open> open_;
};

}  // namespace quarn::detail
