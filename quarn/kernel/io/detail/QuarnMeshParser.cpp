#include "quarn/kernel/io/detail/QuarnMeshParser.h"

#include <QCryptographicHash>
#include <algorithm>
#include <charconv>
#include <memory>

#include "quarn/base/McException.h"
#include "quarn/kernel/io/detail/QuarnMeshText.h"

namespace quarn::detail {
namespace {

constexpr int maxElements = 131072;
constexpr std::size_t maxElementsOfBundle = 16384;

bool isBlank(char c) {
  return c == ' ' || c == '\t';
}

std::string_view withoutLeadingBlanks(std::string_view text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  return text;
}

std::string_view trimmed(std::string_view text) {
  if (text.ends_with('\r')) text.remove_suffix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return withoutLeadingBlanks(text);
}

template <class Number>
bool readNumber(std::string_view word, Number& number) {
  const char* const end = word.data() + word.size();
  const auto [stopped, error] = std::from_chars(word.data(), end, number);
  return error == std::errc() && stopped == end;
}

}  // namespace

QuarnMeshParser::QuarnMeshParser(const QByteArray& text, const QString& name, int maxDepth)
    : text_(text.constData(), static_cast<std::size_t>(text.size())), name_(name), maxDepth_(maxDepth) {}

void QuarnMeshParser::parseInto(HxParamBundle& parameters) {
  readHeader();
  readRoot(parameters);
  readElements();
  readChecksum();
}

/// Goes on to the next line that holds something.
bool QuarnMeshParser::nextLine() {
  while (nextBegin_ < text_.size()) {
    lineBegin_ = nextBegin_;
    const std::size_t end = std::min(text_.find('\n', lineBegin_), text_.size());
    nextBegin_ = end + 1;
    ++line_;
    rest_ = trimmed(text_.substr(lineBegin_, end - lineBegin_));
    if (!rest_.empty()) return true;
  }
  rest_ = {};
  return false;
}

void QuarnMeshParser::readHeader() {
  nextLine();
  if (line_ != 1 || !rest_.starts_with(mesh::headerStart)) fail("this is not a parameter file, it begins otherwise");
  rest_.remove_prefix(mesh::headerStart.size());
  const std::string_view version = nextWord();
  if (version != mesh::version) failAt("version", "only 1 can be read", version);
  const std::string_view form = nextWord();
  if (form != mesh::textForm) failAt("form", "only text can be read", form);
  const std::string_view flavour = nextWord();
  if (!std::ranges::count(mesh::flavours, flavour)) failAt("flavour", "not known", flavour);
  if (!rest_.empty()) failAt("first line", "there is too much", rest_);
}

void QuarnMeshParser::readRoot(HxParamBundle& parameters) {
  if (!nextLine() || nextWord() != mesh::rootName || rest_ != "{") fail("\"parameters {\" is expected");
  open_.push_back({&parameters, {}});
}

void QuarnMeshParser::readElements() {
  while (!open_.empty()) {
    if (!nextLine()) fail("the file ends inside bundle \"" + open_.back().bundle->name() + "\", it is cut off");
    if (rest_ == "}") {
      open_.pop_back();
    } else {
      readElement();
    }
  }
}

void QuarnMeshParser::readElement() {
  std::string name;
  if (const char* wrong = mesh::readQuoted(rest_, name)) fail(std::string("at the name of an element ") + wrong);
  if (!rest_.empty() && !isBlank(rest_.front())) failAt(name, "a blank is expected behind the name", rest_);
  rest_ = withoutLeadingBlanks(rest_);
  if (rest_ != "{") return readValue(name, nextWord());
  if (open_.size() >= static_cast<std::size_t>(maxDepth_))
    failAt(name, "bundles are nested too deeply, more than", std::to_string(maxDepth_));
  auto bundle = std::make_unique<HxParamBundle>(name);
  HxParamBundle* const opened = bundle.get();
  add(std::move(bundle));
  open_.push_back({opened, {}});
}

void QuarnMeshParser::readValue(const std::string& name, std::string_view type) {
  if (type == HxParameter::typeName(HxParameter::Type::Text)) {
    std::string text;
    const std::string_view written = rest_;
    if (const char* wrong = mesh::readQuoted(rest_, text)) failAt(name, wrong, written);
    if (!rest_.empty()) failAt(name, "there is something behind the text", rest_);
    add(std::make_unique<HxParameter>(name, text));
  } else if (type == HxParameter::typeName(HxParameter::Type::Integer)) {
    std::int64_t number = 0;
    if (!readNumber(rest_, number)) failAt(name, "a whole number is expected", rest_);
    add(std::make_unique<HxParameter>(name, number));
  } else if (type == HxParameter::typeName(HxParameter::Type::Real)) {
    add(std::make_unique<HxParameter>(name, readReal(name, rest_)));
  } else if (type == HxParameter::typeName(HxParameter::Type::Reals)) {
    add(std::make_unique<HxParameter>(name, readReals(name)));
  } else {
    failAt(name, "text, integer, real, reals or { is expected", type);
  }
}

double QuarnMeshParser::readReal(const std::string& name, std::string_view word) {
  double real = 0.0;
  if (!readNumber(word, real)) failAt(name, "a real number is expected", word);
  return real;
}

std::vector<double> QuarnMeshParser::readReals(const std::string& name) {
  std::vector<double> reals;
  while (!rest_.empty()) reals.push_back(readReal(name, nextWord()));
  return reals;
}

void QuarnMeshParser::readChecksum() {
  if (!nextLine()) return;
  if (!rest_.starts_with(mesh::checksumStart)) failAt("last line", "nothing but the checksum is expected", rest_);
  rest_.remove_prefix(mesh::checksumStart.size());
  const QByteArray body = QByteArray::fromRawData(text_.data(), static_cast<qsizetype>(lineBegin_));
  const QByteArray checksum = QCryptographicHash::hash(body, QCryptographicHash::Sha256).toHex();
  if (rest_ != checksum.toStdString()) failAt("sha256", "the checksum does not fit the content", rest_);
  if (nextLine()) failAt("end", "there is something behind the last line", rest_);
}

void QuarnMeshParser::add(std::unique_ptr<HxParamBase> element) {
  Open& open = open_.back();
  if (!open.names.insert(element->name()).second)
    fail("element \"" + element->name() + "\" stands twice in its bundle");
  if (open.names.size() > maxElementsOfBundle || ++elements_ > maxElements)
    failAt(element->name(), "there are too many elements, at bundle", open.bundle->name());
  open.bundle->insert(std::move(element));
}

/// Takes the next word off the line, and the blanks behind it.
std::string_view QuarnMeshParser::nextWord() {
  const std::size_t end = std::min(rest_.find_first_of(" \t"), rest_.size());
  const std::string_view word = rest_.substr(0, end);
  rest_ = withoutLeadingBlanks(rest_.substr(end));
  return word;
}

void QuarnMeshParser::fail(const std::string& what) const {
  throw McException(McException::excerpt(name_.toStdString()) + ":" + std::to_string(line_) + ": " + what);
}

void QuarnMeshParser::failAt(const std::string& element, const std::string& what, std::string_view value) const {
  fail("\"" + McException::excerpt(element) + "\": " + what + ": \"" + McException::excerpt(value) + "\"");
}

}  // namespace quarn::detail
