#include "quarn/kernel/io/detail/QuarnMeshWriter.h"

#include <QCryptographicHash>
#include <cmath>
#include <string>

#include "quarn/kernel/io/detail/QuarnMeshText.h"

namespace quarn::detail {
namespace {

std::string realText(double real) {
  return std::isnan(real) ? "nan" : HxParameter::printReal(real);
}

std::string valueText(const std::string& text) {
  return mesh::quoted(text);
}
std::string valueText(std::int64_t number) {
  return std::to_string(number);
}
std::string valueText(double real) {
  return realText(real);
}
std::string valueText(const std::vector<double>& reals) {
  std::string list;
  for (const double real : reals) list += (list.empty() ? "" : " ") + realText(real);
  return list;
}

void appendElements(std::string& text, const HxParamBundle& bundle, int indentation) {
  const std::string indent(static_cast<std::size_t>(indentation), ' ');
  for (int i = 0; i < bundle.size(); ++i) {
    const HxParamBase& element = *bundle[i];
    text += indent + mesh::quoted(element.name());
    if (element.isBundle()) {
      text += " {\n";
      appendElements(text, static_cast<const HxParamBundle&>(element), indentation + 2);
      text += indent + "}\n";
    } else {
      const auto& parameter = static_cast<const HxParameter&>(element);
      text.append(" ").append(HxParameter::typeName(parameter.type()));
      text.append(" ").append(std::visit([](const auto& value) { return valueText(value); }, parameter.value()));
      text.append("\n");
    }
  }
}

}  // namespace

QByteArray quarnMeshText(const HxParamBundle& parameters, std::string_view flavour) {
  std::string text(mesh::headerStart);
  text.append(mesh::version).append(" ").append(mesh::textForm).append(" ").append(flavour).append("\n");
  text.append(mesh::rootName).append(" {\n");
  appendElements(text, parameters, 2);
  text += "}\n";
  QByteArray bytes = QByteArray::fromStdString(text);
  const QByteArray checksum = QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex();
  bytes.append(mesh::checksumStart.data(), static_cast<qsizetype>(mesh::checksumStart.size()));
  return bytes.append(checksum).append('\n');
}

}  // namespace quarn::detail
