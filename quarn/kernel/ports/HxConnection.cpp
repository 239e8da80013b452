#include "quarn/kernel/ports/HxConnection.h"

#include <algorithm>

#include "quarn/base/McException.h"
#include "quarn/base/McInterface.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/objects/HxObject.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/ports/HxConnectionChecker.h"
#include "quarn/kernel/script/HxWordCommands.h"

MC_ABSTRACT_CLASS_IMPL(HxConnection, HxPort)

namespace {

constexpr unsigned int kConnectionChanged = 1;
constexpr unsigned int kContentChanged = 8;

bool offers(const HxObject& object, McType type) {
  const auto& interfaces = object.interfaces();
  return object.getTypeId().isDerivedFrom(type) ||
         std::any_of(interfaces.begin(), interfaces.end(),
                     [type](const McInterface* interface) { return interface->getTypeId().isDerivedFrom(type); });
}

}  // namespace

HxConnection::HxConnection(HxObject* owner, const QString& name, const QString& label, McType acceptedType)
    : HxPort(owner, name, label), acceptedTypes_{acceptedType} {}

HxConnection::~HxConnection() {
  if (source_) std::erase(source_->downstream_, this);
}

bool HxConnection::accepts(const HxObject* source) const {
  return source && std::any_of(acceptedTypes_.begin(), acceptedTypes_.end(),
                               [source](McType type) { return offers(*source, type); });
}

bool HxConnection::connect(HxObject* source) {
  if (source == source_) return true;
  if (source && !wouldConnect(source)) return false;
  setSource(source);
  return true;
}

bool HxConnection::wouldConnect(HxObject* source) {
  if (!owner() || source == owner() || owner()->isUpstreamOf(*source)) return false;
  return owner()->acceptConnection(this, source) && (!checker_ || (*checker_)(source));
}

void HxConnection::allowEditing(bool allow) {
  editable_ = allow;
  showSource();
}

void HxConnection::setSource(HxObject* source) {
  if (source == source_) return;
  if (source_) std::erase(source_->downstream_, this);
  source_ = source;
  if (source_) source_->downstream_.push_back(this);
  showSource();
  touch(kConnectionChanged | kContentChanged);
}

int HxConnection::parse(Tcl_Interp* interp, int argc, char** argv) {
  static constexpr HxWordCommand<HxConnection> kCommands[] = {
      {{"connect", "OBJECT", 1, 1, "Connects an object that the port accepts."},
       [](HxConnection& port, const HxWords& words) { return port.parseConnect(words.word(0)); }},
      {{"disconnect", "", 0, 0, "Takes the connection away."},
       [](HxConnection& port, const HxWords&) { return port.parseDisconnect(); }},
      {{"source", "", 0, 0, "Returns the name of the object that is connected; empty without one."},
       [](HxConnection& port, const HxWords& words) {
         return port.source_ ? words.append(port.source_->getName()) : TCL_OK;
       }},
  };
  QStringList types;
  for (const McType type : acceptedTypes_) types += QString::fromStdString(type.getName());
  getCmdInfo().note("connect", "OBJECT is of type " + types.join(QStringLiteral(" or ")));
  const auto code = runWordCommand(kCommands, "HxConnection", *this, HxWords{interp, argc, argv});
  return code ? *code : HxPort::parse(interp, argc, argv);
}

int HxConnection::parseConnect(const char* name) {
  if (refusesEditing()) return TCL_ERROR;
  HxObject* object = HxObjectPool::instance().find(name);
  if (!object) {
    HxMessage::printf("There is no object \"%s\".", McException::excerpt(name).c_str());
    return TCL_ERROR;
  }
  if (connect(object)) return TCL_OK;
  const QString reason = checker_ ? checker_->reason(object) : QString();
  HxMessage::printf("\"%s\" cannot be connected to port \"%s\" of \"%s\"%s", qUtf8Printable(object->getName()),
                    qUtf8Printable(getName()), qUtf8Printable(owner()->describe()),
                    qUtf8Printable(reason.isEmpty() ? "." : ": " + reason));
  return TCL_ERROR;
}

int HxConnection::parseDisconnect() {
  if (refusesEditing()) return TCL_ERROR;
  disconnect();
  return TCL_OK;
}

bool HxConnection::refusesEditing() const {
  if (editable_) return false;
  HxMessage::printf("Port \"%s\" of \"%s\" must not be changed now.", qUtf8Printable(getName()),
                    qUtf8Printable(owner()->describe()));
  return true;
}
