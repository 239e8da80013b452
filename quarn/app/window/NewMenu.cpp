#include "quarn/app/window/NewMenu.h"

#include <string>
#include <utility>
#include <vector>

#include "quarn/base/McException.h"
#include "quarn/kernel/objects/HxData.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/ports/HxConnection.h"
#include "quarn/kernel/script/creatableClasses.h"
#include "quarn/kernel/script/scriptLine.h"

namespace quarn::app {
namespace {

/// The first connection of an object that would take the source; null for none. That of data to the module that made it
/// is no input.
HxConnection* inputFor(HxObject& object, HxObject& source) {
  auto* const data = dynamic_cast<HxData*>(&object);
  for (HxPort* port : object.ports()) {
    auto* const connection = dynamic_cast<HxConnection*>(port);
    if (!connection || (data && connection == &data->baseConnection)) continue;
    if (connection->wouldConnect(&source)) return connection;
  }
  return nullptr;
}

/// The name of the port by which an object of a class takes the source; empty when it does not.
QString inputOf(const QString& className, HxObject& source) {
  try {
    const McHandle<HxObject> candidate = HxObject::create(className);
    const HxConnection* const input = inputFor(*candidate, source);
    return input ? input->getName() : QString();
  } catch (const McException&) {
    return QString();
  }
}

}  // namespace

NewMenu::NewMenu(std::function<HxObject*()> chosen, std::function<void(const QString&)> run, QWidget* parent)
    : QMenu(tr("&New"), parent), chosen_(std::move(chosen)), run_(std::move(run)) {
  setToolTipsVisible(true);
  connect(this, &QMenu::aboutToShow, this, &NewMenu::fill);
}

void NewMenu::fill() {
  clear();
  if (HxObject* source = chosen_()) addFor(*source);
  addClasses();
}

void NewMenu::addFor(HxObject& source) {
  const QString name = source.getName();
  for (const QString& className : creatableClasses()) {
    const QString port = inputOf(className, source);
    if (port.isEmpty()) continue;
    QString text = tr("%1 of %2").arg(className, source.getLabel());
    addAction(text.replace(QLatin1Char('&'), QLatin1String("&&")), this,
              [this, className, port, name] { make(className, port, name); });
  }
  if (!isEmpty()) addSeparator();
}

void NewMenu::addClasses() {
  QMenu* any = addMenu(tr("&Any Class"));
  for (const QString& className : creatableClasses())
    any->addAction(className, this, [this, className] { make(className, QString(), QString()); });
}

void NewMenu::make(const QString& className, const QString& port, const QString& source) {
  const auto& objects = HxObjectPool::instance().objects();
  const std::size_t before = objects.size();
  runWords({QStringLiteral("create"), className});
  if (objects.size() <= before) return;
  const QString name = objects.back()->getName();
  if (!port.isEmpty()) runWords({name, port, QStringLiteral("connect"), source});
  runWords({name, QStringLiteral("fire")});
  if (HxObject* object = HxObjectPool::instance().find(name)) Q_EMIT made(object);
}

void NewMenu::runWords(const QStringList& words) {
  std::vector<std::string> line;
  for (const QString& word : words) line.push_back(word.toStdString());
  run_(QString::fromStdString(scriptLine(line)));
}

}  // namespace quarn::app
