#include "quarn/app/window/HelpMenu.h"

#include <QMessageBox>
#include <utility>

#include "quarn/kernel/app/HxSkin.h"
#include "quarn/kernel/objects/HxObject.h"
#include "quarn/kernel/script/scriptLine.h"

namespace quarn::app {

HelpMenu::HelpMenu(std::function<HxObject*()> chosen, std::function<void(const QString&)> run, QWidget* parent)
    : QMenu(tr("&Help"), parent), chosen_(std::move(chosen)), run_(std::move(run)) {
  addAction(tr("&Commands"), QKeySequence::HelpContents, this, [this] { run_(QStringLiteral("help")); });
  QAction* ofChosen = addAction(tr("Commands of &Object"), this, &HelpMenu::tellOfChosen);
  connect(this, &QMenu::aboutToShow, ofChosen, [this, ofChosen] { ofChosen->setEnabled(chosen_()); });
  addSeparator();
  addAction(tr("&About quarn"), this, &HelpMenu::showAbout);
}

void HelpMenu::tellOfChosen() {
  if (const HxObject* object = chosen_())
    run_(QString::fromStdString(scriptLine({object->getName().toStdString(), "help"})));
}

void HelpMenu::showAbout() {
  QMessageBox::about(this, tr("About quarn"),
                     tr("quarn %1\nA workbench for 3D images and the regions of interest in them.")
                         .arg(HxSkin().getApplicationVersion()));
}

}  // namespace quarn::app
