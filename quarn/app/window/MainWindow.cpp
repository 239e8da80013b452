#include "quarn/app/window/MainWindow.h"

#include <QCloseEvent>
#include <QDockWidget>
#include <QDragEnterEvent>
#include <QFile>
#include <QFileDialog>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QSplitter>
#include <QTimer>
#include <chrono>

#include "quarn/app/window/HelpMenu.h"
#include "quarn/app/window/NewMenu.h"
#include "quarn/app/window/attempt.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "quarn/kernel/network/HxNetwork.h"
#include "quarn/kernel/objects/HxData.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/objects/unsavedData.h"
#include "quarn/kernel/widgets/QxPropertyArea.h"
#ifdef QUARN_WITH_VIEW
#include "quarn/app/window/ViewMenu.h"
#include "quarn/app/window/ViewPane.h"
#include "quarn/view/HxSceneView.h"
#endif

namespace quarn::app {
namespace {

constexpr QSize FIRST_SIZE(1100, 760);
constexpr std::chrono::milliseconds STATE_PAUSE(500);

/// The Return key alone loses nothing.
bool isSure(QWidget* parent, const QString& question) {
  return QMessageBox::question(parent, QStringLiteral("quarn"), question, QMessageBox::Yes | QMessageBox::No,
                               QMessageBox::No) == QMessageBox::Yes;
}

}  // namespace

MainWindow::MainWindow() : objects_(new ObjectList(this)) {
  setAcceptDrops(true);
  makePanes();
  makeMenus();
  addViewPane();
  menuBar()->addMenu(
      new HelpMenu([this] { return chosen(); }, [this](const QString& line) { console_->run(line); }, this));
  followState();
  resize(FIRST_SIZE);
}

MainWindow::~MainWindow() = default;

void MainWindow::makePanes() {
  list_ = new QListView;
  list_->setObjectName(QStringLiteral("objects"));
  list_->setModel(objects_);
  list_->setEditTriggers(QAbstractItemView::EditKeyPressed | QAbstractItemView::SelectedClicked);
  list_->setContextMenuPolicy(Qt::CustomContextMenu);
  properties_ = new QxPropertyArea;
  console_ = new ConsolePane;

  columns_ = new QSplitter(Qt::Horizontal);
  columns_->addWidget(list_);
  columns_->addWidget(properties_);
  columns_->setStretchFactor(1, 1);
  columns_->setSizes({240, 860});
  auto* rows = new QSplitter(Qt::Vertical);
  rows->addWidget(columns_);
  rows->addWidget(console_);
  rows->setStretchFactor(0, 1);
  rows->setSizes({560, 200});
  setCentralWidget(rows);

  connect(list_->selectionModel(), &QItemSelectionModel::currentChanged, this, [this](const QModelIndex& index) {
    HxObject* object = objects_->objectAt(index);
    properties_->setObject(object);
    HxObjectPool::instance().select(object);
  });
  connect(objects_, &ObjectList::leaving, this, [this](HxObject* object) {
    if (object == chosen()) properties_->setObject(nullptr);
  });
  connect(objects_, &QAbstractItemModel::rowsInserted, this, [this](const QModelIndex&, int, int last) {
    if (!chosen()) list_->setCurrentIndex(objects_->index(last));
  });
  connect(list_, &QWidget::customContextMenuRequested, this, &MainWindow::showObjectMenu);
}

/// There is one picture: of the view that came first.
void MainWindow::addViewPane() {
#ifdef QUARN_WITH_VIEW
  auto* pane = new ViewPane;
  pane->hide();
  columns_->addWidget(pane);
  columns_->setStretchFactor(2, 2);
  viewMenu_ = new ViewMenu(
      pane, [this] { return chosen(); }, this);
  menuBar()->addMenu(viewMenu_);
  const auto follow = [this, pane](const HxObject* leaving) {
    HxSceneView* view = nullptr;
    for (const McHandle<HxObject>& object : HxObjectPool::instance().objects())
      if (!view && object.get() != leaving) view = dynamic_cast<HxSceneView*>(object.get());
    pane->setView(view);
    if (view && pane->isHidden()) columns_->setSizes({190, 410, 500});
    pane->setVisible(view);
  };
  connect(objects_, &QAbstractItemModel::rowsInserted, pane, [follow] { follow(nullptr); });
  connect(objects_, &ObjectList::leaving, pane, follow);
  connect(console_, &ConsolePane::commandRun, pane, &ViewPane::refresh);
  connect(list_, &QAbstractItemView::doubleClicked, viewMenu_, &ViewMenu::toggleChosen);
  follow(nullptr);
#endif
}

void MainWindow::makeMenus() {
  QMenu* file = menuBar()->addMenu(tr("&File"));
  file->addAction(tr("&Load ..."), QKeySequence::Open, this, &MainWindow::askForFiles);
  file->addAction(tr("&Save Object As ..."), QKeySequence::SaveAs, this, &MainWindow::saveChosen);
  file->addAction(tr("Save &Network As ..."), this, &MainWindow::saveNetwork);
  file->addSeparator();
  file->addAction(tr("&Quit"), QKeySequence::Quit, this, &QWidget::close);
  QMenu* object = menuBar()->addMenu(tr("&Object"));
  auto* made = new NewMenu([this] { return chosen(); }, [this](const QString& line) { console_->run(line); }, this);
  connect(made, &NewMenu::made, this, &MainWindow::choose);
  object->addMenu(made);
  object->addAction(tr("&Rename"), this, [this] { list_->edit(list_->currentIndex()); });
  object->addAction(tr("Re&move"), this, &MainWindow::removeChosen);
}

/// The title names what is chosen; its mark tells of unsaved work, which no signal does.
void MainWindow::followState() {
  const auto show = [this] {
    const HxObject* object = chosen();
    setWindowTitle((object ? object->getLabel() + QStringLiteral("[*] - quarn") : QStringLiteral("quarn[*]")));
    setWindowModified(!unsavedData().isEmpty());
  };
  connect(list_->selectionModel(), &QItemSelectionModel::currentChanged, this, show);
  connect(objects_, &QAbstractItemModel::dataChanged, this, show);
  connect(console_, &ConsolePane::commandRun, this, show);
  auto* timer = new QTimer(this);
  connect(timer, &QTimer::timeout, this, show);
  timer->start(STATE_PAUSE);
  show();
}

HxObject* MainWindow::chosen() const {
  return objects_->objectAt(list_->currentIndex());
}

void MainWindow::choose(HxObject* object) {
  list_->setCurrentIndex(objects_->indexOf(object));
}

void MainWindow::loadFiles(const QStringList& files) {
  QStringList loaded;
  for (const QString& file : files)
    attempt([&] {
      const QStringList names = HxFileTypes::instance().load(file);
      HxMessage::printf("%s: %s", file.toUtf8().constData(), names.join(QStringLiteral(", ")).toUtf8().constData());
      if (!names.isEmpty()) choose(HxObjectPool::instance().find(names.back()));
      loaded += names;
    });
#ifdef QUARN_WITH_VIEW
  viewMenu_->showFirst(loaded);
#endif
}

void MainWindow::askForFiles() {
  QStringList patterns;
  for (const QString& suffix : HxFileTypes::instance().suffixes()) patterns.append(QLatin1Char('*') + suffix);
  const QString known = tr("Known files (%1)").arg(patterns.join(QLatin1Char(' ')));
  loadFiles(
      QFileDialog::getOpenFileNames(this, tr("Load"), QString(), known + QStringLiteral(";;") + tr("All files (*)")));
}

void MainWindow::saveChosen() {
  auto* object = dynamic_cast<HxData*>(chosen());
  if (!object) return;
  QStringList filters;
  const std::vector<HxSaverEntry> savers = HxFileTypes::instance().saversFor(*object);
  for (const HxSaverEntry& saver : savers) filters.append(QStringLiteral("%1 (*%2)").arg(saver.format, saver.suffix));
  QString filter;
  const QString file = QFileDialog::getSaveFileName(this, tr("Save %1").arg(object->getLabel()), object->getLabel(),
                                                    filters.join(QStringLiteral(";;")), &filter);
  const qsizetype which = filters.indexOf(filter);
  if (file.isEmpty() || which < 0) return;
  attempt([&] { HxFileTypes::instance().save(object, savers[static_cast<std::size_t>(which)].format, file); });
}

void MainWindow::saveNetwork() {
  const QString suffix = HxNetwork::suffix();
  QString file = QFileDialog::getSaveFileName(this, tr("Save Network"), QStringLiteral("network") + suffix,
                                              tr("Networks (*%1)").arg(suffix));
  if (file.isEmpty()) return;
  if (!HxNetwork::hasSuffix(file)) {
    file += suffix;
    if (QFile::exists(file) && !isSure(this, tr("%1 exists. Replace it?").arg(file))) return;
  }
  attempt([&] { HxNetwork::save(file); });
}

void MainWindow::removeChosen() {
  HxObject* object = chosen();
  if (!object) return;
  if (unsavedData().contains(object->getName())) {
    const QString question = tr("%1 is not saved. Remove it?").arg(object->getLabel());
    if (!isSure(this, question)) return;
  }
  attempt([&] { HxObjectPool::instance().remove(object); });
}

void MainWindow::showObjectMenu(const QPoint& place) {
  if (!list_->indexAt(place).isValid()) return;
  QMenu menu(this);
  if (dynamic_cast<HxData*>(chosen())) menu.addAction(tr("Save As ..."), this, &MainWindow::saveChosen);
  menu.addAction(tr("Rename"), this, [this] { list_->edit(list_->currentIndex()); });
  menu.addAction(tr("Remove"), this, &MainWindow::removeChosen);
#ifdef QUARN_WITH_VIEW
  menu.addSeparator();
  menu.addAction(viewMenu_->toggleAction());
#endif
  menu.exec(list_->viewport()->mapToGlobal(place));
}

void MainWindow::closeEvent(QCloseEvent* event) {
  const QStringList names = unsavedData();
  const QString question =
      tr("These objects are not saved: %1.\nQuit and lose the changes?").arg(names.join(QStringLiteral(", ")));
  const bool goes = names.isEmpty() || isSure(this, question);
  event->setAccepted(goes);
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
  if (event->mimeData()->hasUrls()) event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
  QStringList files;
  for (const QUrl& url : event->mimeData()->urls())
    if (url.isLocalFile()) files.append(url.toLocalFile());
  loadFiles(files);
}

}  // namespace quarn::app
