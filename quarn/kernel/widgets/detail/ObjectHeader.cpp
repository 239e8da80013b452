#include "quarn/kernel/widgets/detail/ObjectHeader.h"

#include <QHeaderView>
#include <QSortFilterProxyModel>
#include <QTimer>
#include <QVBoxLayout>
#include <chrono>

#include "quarn/kernel/objects/HxData.h"
#include "quarn/kernel/widgets/detail/objectFacts.h"

namespace quarn::detail {

constexpr std::chrono::milliseconds LOOKING_PAUSE(500);

namespace {

std::uint32_t touchTimeOf(const HxObject* object) {
  const auto* const touched = dynamic_cast<const HxData*>(object);
  return touched ? touched->getTouchTime() : 0;
}

}  // namespace

ObjectHeader::ObjectHeader(QWidget* parent)
    : QWidget(parent),
      title_(new QLabel(this)),
      facts_(new QLabel(this)),
      cells_(new CellsView(this)),
      model_(new TableModel(this)) {
  title_->setObjectName("title");
  title_->setTextFormat(Qt::PlainText);
  QFont font = title_->font();
  font.setBold(true);
  title_->setFont(font);
  facts_->setObjectName("facts");
  facts_->setTextFormat(Qt::PlainText);
  facts_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  facts_->setWordWrap(true);

  auto* sorted = new QSortFilterProxyModel(this);
  sorted->setSourceModel(model_);
  sorted->setSortRole(Qt::EditRole);
  cells_->setObjectName("cells");
  cells_->setModel(sorted);
  cells_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  cells_->setSortingEnabled(true);
  cells_->sortByColumn(-1, Qt::AscendingOrder);
  cells_->verticalHeader()->hide();

  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->addWidget(title_);
  column->addWidget(facts_);
  column->addWidget(cells_, 1);
  auto* timer = new QTimer(this);
  connect(timer, &QTimer::timeout, this, &ObjectHeader::refreshIfTouched);
  timer->start(LOOKING_PAUSE);
  refresh();
}

void ObjectHeader::setObject(HxObject* object) {
  object_ = object;
  cells_->sortByColumn(-1, Qt::AscendingOrder);
  refresh();
  cells_->resizeColumnsToContents();
}

void ObjectHeader::refresh() {
  auto* const table = dynamic_cast<HxTable*>(object_);
  touchTime_ = touchTimeOf(object_);
  model_->reset(table);
  cells_->setVisible(table != nullptr);
  setSizePolicy(QSizePolicy::Preferred, table ? QSizePolicy::Expanding : QSizePolicy::Maximum);
  const QString facts = object_ ? factsOf(*object_) : QString();
  facts_->setText(facts);
  facts_->setVisible(!facts.isEmpty());
  title_->setVisible(object_ != nullptr);
  if (!object_) return;
  title_->setText(object_->describe());
  title_->setToolTip(QString::fromStdString(object_->getTypeId().getName()));
}

void ObjectHeader::refreshIfTouched() {
  if (isVisible() && touchTimeOf(object_) != touchTime_) refresh();
}

}  // namespace quarn::detail
