#include <charconv>
#include <cmath>
#include <optional>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/params/HxParamBundle.h"
#include "quarn/kernel/script/HxWordCommands.h"

namespace {

/// Where a path leads: the bundle that holds the element, and the element's name there.
struct Place {
  HxParamBundle* bundle;
  std::string name;

  HxParamBase* element() const { return bundle->findBase(name); }
};

/// Null when a bundle on the way is missing; with `create` it is made.
std::optional<Place> resolve(HxParamBundle& root, std::string_view path, bool create) {
  HxParamBundle* bundle = &root;
  for (auto slash = path.find('/'); slash != path.npos; slash = path.find('/')) {
    const std::string_view step = path.substr(0, slash);
    // A parameter that is in the way is not replaced by a bundle.
    const HxParamBase* element = bundle->findBase(step);
    if (element && !element->isBundle()) return std::nullopt;
    bundle = bundle->getBundle(step, create);
    if (!bundle) return std::nullopt;
    path.remove_prefix(slash + 1);
  }
  return Place{bundle, std::string(path)};
}

int fail(const char* path, const char* reason) {
  HxMessage::printf("Parameter \"%s\" %s.", McException::excerpt(path).c_str(), reason);
  return TCL_ERROR;
}

HxParamBase* findElement(HxParamBundle& root, const char* path) {
  const auto place = resolve(root, path, false);
  return place ? place->element() : nullptr;
}

/// The bundle that a command is about: the root unless a path follows the command.
HxParamBundle* bundleArgument(HxParamBundle& root, int argc, char** argv) {
  if (argc < 3) return &root;
  auto* bundle = dynamic_cast<HxParamBundle*>(findElement(root, argv[2]));
  if (!bundle) fail(argv[2], "is not a bundle");
  return bundle;
}

void list(const HxParamBundle& bundle, std::string& text, const std::string& indent) {
  for (int i = 0; i < bundle.size(); ++i) {
    const HxParamBase& element = *bundle[i];
    if (element.getFlag(HxParamBase::Hidden)) continue;
    if (element.isBundle()) {
      text += indent + element.name() + "/\n";
      list(static_cast<const HxParamBundle&>(element), text, indent + "  ");
    } else {
      text += indent + element.name() + " = " + static_cast<const HxParameter&>(element).print() + "\n";
    }
  }
}

int listCommand(HxParamBundle& root, const HxWords& words) {
  const HxParamBundle* bundle = bundleArgument(root, words.argc, words.argv);
  if (!bundle) return TCL_ERROR;
  std::string text;
  list(*bundle, text, "");
  if (!text.empty()) text.pop_back();
  Tcl_SetObjResult(words.interp, Tcl_NewStringObj(text.data(), static_cast<int>(text.size())));
  return TCL_OK;
}

int namesCommand(HxParamBundle& root, Tcl_Interp* interp, int argc, char** argv) {
  const HxParamBundle* bundle = bundleArgument(root, argc, argv);
  if (!bundle) return TCL_ERROR;
  for (int i = 0; i < bundle->size(); ++i) {
    if (!(*bundle)[i]->getFlag(HxParamBase::Hidden)) Tcl_VaAppendElement(interp, "%s", (*bundle)[i]->name().c_str());
  }
  return TCL_OK;
}

int getCommand(HxParamBundle& root, Tcl_Interp* interp, const char* path) {
  const auto* parameter = dynamic_cast<HxParameter*>(findElement(root, path));
  if (!parameter) return fail(path, findElement(root, path) ? "is a bundle" : "does not exist");
  const std::string text = parameter->print();
  Tcl_SetObjResult(interp, Tcl_NewStringObj(text.data(), static_cast<int>(text.size())));
  return TCL_OK;
}

int typeCommand(HxParamBundle& root, Tcl_Interp* interp, const char* path) {
  const HxParamBase* element = findElement(root, path);
  if (!element) return fail(path, "does not exist");
  const char* type =
      element->isBundle() ? "bundle" : HxParameter::typeName(static_cast<const HxParameter*>(element)->type());
  Tcl_VaAppendElement(interp, "%s", type);
  return TCL_OK;
}

template <class Number>
std::optional<Number> parseNumber(std::string_view text) {
  Number number;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

std::optional<std::vector<double>> parseReals(int argc, char** argv) {
  std::vector<double> reals;
  for (int i = 0; i < argc; ++i) {
    const auto real = parseNumber<double>(argv[i]);
    if (!real) return std::nullopt;
    reals.push_back(*real);
  }
  return reals;
}

/// The words as a value of a type; nothing when they do not read as one.
std::optional<HxParameter::Value> parseAs(HxParameter::Type type, int argc, char** argv) {
  const auto asValue = [](auto value) { return value ? std::optional(HxParameter::Value(*value)) : std::nullopt; };
  if (type == HxParameter::Type::Reals) return asValue(parseReals(argc, argv));
  if (argc != 1) return std::nullopt;
  switch (type) {
    case HxParameter::Type::Integer:
      return asValue(parseNumber<std::int64_t>(argv[0]));
    case HxParameter::Type::Real:
      return asValue(parseNumber<double>(argv[0]));
    default:
      return HxParameter::Value(std::string(argv[0]));
  }
}

std::optional<HxParameter::Value> parseFreely(int argc, char** argv) {
  using Type = HxParameter::Type;
  if (argc > 1) return parseAs(Type::Reals, argc, argv);
  if (auto integer = parseAs(Type::Integer, argc, argv)) return integer;
  // "nan" and "inf" are more often words than numbers.
  if (auto real = parseAs(Type::Real, argc, argv); real && std::isfinite(std::get<double>(*real))) return real;
  return parseAs(Type::Text, argc, argv);
}

/// Why an element may not be changed by a script; null when it may.
const char* refusal(const HxParamBase* element, int flag) {
  return element && element->getFlag(flag) ? "belongs to the program" : nullptr;
}

int assignValue(const Place& place, const char* path, HxParameter::Value value) {
  if (place.name.empty()) return fail(path, "has no name");
  place.bundle->set(place.name, std::move(value));
  return TCL_OK;
}

int setCommand(HxParamBundle& root, bool asText, int argc, char** argv) {
  const char* path = argv[2];
  const HxParamBase* element = findElement(root, path);
  if (const char* reason = refusal(element, HxParamBase::Fixed)) return fail(path, reason);
  if (element && element->isBundle()) return fail(path, "is a bundle");
  const auto* parameter = static_cast<const HxParameter*>(element);
  const int count = argc - 3;
  const auto value = asText      ? parseAs(HxParameter::Type::Text, count, argv + 3)
                     : parameter ? parseAs(parameter->type(), count, argv + 3)
                                 : parseFreely(count, argv + 3);
  if (!value) {
    const char* type = parameter ? HxParameter::typeName(parameter->type()) : "reals";
    HxMessage::printf("Parameter \"%s\" is of type %s and cannot be \"%s\".", McException::excerpt(path).c_str(), type,
                      McException::excerpt(argv[3]).c_str());
    return TCL_ERROR;
  }
  const auto place = resolve(root, path, true);
  return place ? assignValue(*place, path, *value) : fail(path, "does not lie in a bundle");
}

int removeCommand(HxParamBundle& root, const char* path) {
  const HxParamBase* element = findElement(root, path);
  if (!element) return fail(path, "does not exist");
  if (const char* reason = refusal(element, HxParamBase::Permanent)) return fail(path, reason);
  const auto place = resolve(root, path, false);
  place->bundle->remove(place->name);
  return TCL_OK;
}

constexpr HxWordCommand<HxParamBundle> kCommands[] = {
    {{"list", "?BUNDLE?", 0, 1,
      "Returns all parameters with their values, a line each; those of bundles are indented."},
     listCommand},
    {{"names", "?BUNDLE?", 0, 1, "Returns the names of the parameters and bundles, of a bundle when one is given."},
     [](HxParamBundle& root, const HxWords& words) {
       return namesCommand(root, words.interp, words.argc, words.argv);
     }},
    {{"get", "NAME", 1, 1, "Returns a value. NAME leads into bundles: Materials/Bone/Color."},
     [](HxParamBundle& root, const HxWords& words) { return getCommand(root, words.interp, words.word(0)); }},
    {{"set", "NAME VALUE...", 2, -1,
      "Sets a value, as the type that it has; a new one is a number, numbers or a text."},
     [](HxParamBundle& root, const HxWords& words) { return setCommand(root, false, words.argc, words.argv); }},
    {{"setText", "NAME TEXT", 2, 2, "Sets a text, even where it looks like a number."},
     [](HxParamBundle& root, const HxWords& words) { return setCommand(root, true, words.argc, words.argv); }},
    {{"type", "NAME", 1, 1, "Returns the type of a value: integer, real, text, reals or bundle."},
     [](HxParamBundle& root, const HxWords& words) { return typeCommand(root, words.interp, words.word(0)); }},
    {{"remove", "NAME", 1, 1, "Removes a parameter or a bundle."},
     [](HxParamBundle& root, const HxWords& words) { return removeCommand(root, words.word(0)); }},
    {{"help", "?COMMAND?", 0, 1, "Lists the commands, or tells what one of them does and takes."},
     [](HxParamBundle&, const HxWords& words) { return cmdUsage(words.interp, words.argc, words.argv); }},
};

/// What completion may put for NAME and BUNDLE.
void offerNames(const HxParamBundle& root) {
  QStringList names, bundles;
  for (int i = 0; i < root.size(); ++i) {
    const HxParamBase& element = *root[i];
    if (element.getFlag(HxParamBase::Hidden)) continue;
    names += QString::fromStdString(element.name());
    if (element.isBundle()) bundles += names.back();
  }
  getCmdInfo().offer("NAME", names);
  getCmdInfo().offer("BUNDLE", bundles);
}

}  // namespace

int HxParamBundle::parse(Tcl_Interp* interp, int argc, char** argv) {
  if (argc < 2) offerNames(*this);
  const auto code = runWordCommand(kCommands, "HxParamBundle", *this, HxWords{interp, argc, argv});
  return code ? *code : cmdUsage(interp, argc, argv);
}
