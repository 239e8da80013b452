#include "quarn/kernel/widgets/detail/ParamView.h"

#include <QCoreApplication>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "quarn/kernel/widgets/detail/ParamDelegate.h"

namespace quarn::detail {

namespace {

constexpr int kName = ParamDelegate::kNameColumn;
constexpr int kType = ParamDelegate::kTypeColumn;
constexpr int kValue = ParamDelegate::kValueColumn;
/// Milliseconds; a click on a button ends the edit before it tells of itself.
constexpr int kTimeToRead = 600;

QString translated(const char* text) {
  return QCoreApplication::translate("QxParamDialog", text);
}

/// A row with its element in the draft.
class ParamItem : public QTreeWidgetItem {
public:
  ParamItem(HxParamBundle& bundle_, HxParamBase& element_) : bundle(bundle_), element(element_) {}

  HxParameter* parameter() const { return dynamic_cast<HxParameter*>(&element); }
  HxParamBundle* asBundle() const { return dynamic_cast<HxParamBundle*>(&element); }
  bool isFixed() const { return element.getFlag(HxParamBase::Fixed); }

  HxParamBundle& bundle;
  HxParamBase& element;
};

ParamItem* itemOf(QTreeWidgetItem* item) {
  return static_cast<ParamItem*>(item);
}

std::optional<HxParameter::Type> typeNamed(const QString& name) {
  using Type = HxParameter::Type;
  for (const Type type : {Type::Text, Type::Integer, Type::Real, Type::Reals})
    if (name == HxParameter::typeName(type)) return type;
  return std::nullopt;
}

QPushButton* makeButton(const char* name, const QString& text, QWidget* parent) {
  auto* button = new QPushButton(text, parent);
  button->setObjectName(name);
  button->setAutoDefault(false);
  return button;
}

}  // namespace

ParamView::ParamView(QWidget* parent)
    : QWidget(parent),
      tree_(new QTreeWidget(this)),
      refusal_(new QLabel(this)),
      newParameter_(makeButton("newParameter", translated("New Parameter"), this)),
      newBundle_(makeButton("newBundle", translated("New Bundle"), this)),
      remove_(makeButton("remove", translated("Remove"), this)) {
  tree_->setObjectName("parameters");
  tree_->setHeaderLabels({translated("Name"), translated("Type"), translated("Value")});
  tree_->setItemDelegate(new ParamDelegate(tree_));
  tree_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  tree_->setAlternatingRowColors(true);
  refusal_->setObjectName("refusal");
  refusal_->setTextFormat(Qt::PlainText);
  refusal_->setWordWrap(true);
  refusal_->hide();

  auto* buttons = new QHBoxLayout;
  for (QPushButton* button : {newParameter_, newBundle_, remove_}) buttons->addWidget(button);
  buttons->addStretch(1);
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->addWidget(tree_, 1);
  column->addWidget(refusal_);
  column->addLayout(buttons);

  connect(tree_, &QTreeWidget::itemChanged, this, [this](QTreeWidgetItem* item, int place) { takeEdit(*item, place); });
  connect(tree_, &QTreeWidget::itemActivated, this, &ParamView::startEdit);
  connect(tree_, &QTreeWidget::itemDoubleClicked, this, &ParamView::startEdit);
  connect(tree_, &QTreeWidget::currentItemChanged, this, [this] { showButtons(); });
  connect(newParameter_, &QPushButton::clicked, this, [this] { add(&ParamDraft::addParameter); });
  connect(newBundle_, &QPushButton::clicked, this, [this] { add(&ParamDraft::addBundle); });
  connect(remove_, &QPushButton::clicked, this, [this] { removeCurrent(); });
  showButtons();
}

ParamView::~ParamView() {
  // No news of a current row while the parts go.
  tree_->disconnect(this);
}

void ParamView::show(const HxParamBundle* bundle) {
  const QScopedValueRollback showing(showing_, true);
  tree_->clear();
  draft_ = bundle ? std::make_unique<ParamDraft>(*bundle) : nullptr;
  if (draft_) addItems(draft_->root(), nullptr);
  tree_->expandAll();
  for (const int column : {kName, kType}) tree_->resizeColumnToContents(column);
  showRefusal({});
  showButtons();
}

void ParamView::write(HxParamBundle& bundle) {
  endEdit();
  if (draft_) draft_->writeTo(bundle);
}

bool ParamView::hasRefusedJustNow() const {
  return refused_.isValid() && refused_.elapsed() < kTimeToRead;
}

void ParamView::addItems(HxParamBundle& bundle, QTreeWidgetItem* parent) {
  for (int i = 0; i < bundle.size(); ++i)
    if (!bundle[i]->getFlag(HxParamBase::Hidden)) addItem(bundle, *bundle[i], parent);
}

QTreeWidgetItem* ParamView::addItem(HxParamBundle& bundle, HxParamBase& element, QTreeWidgetItem* parent) {
  auto* item = new ParamItem(bundle, element);
  item->setFlags(Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemIsEditable);
  showElement(*item);
  if (parent) {
    parent->addChild(item);
  } else {
    tree_->addTopLevelItem(item);
  }
  if (HxParamBundle* inner = item->asBundle()) addItems(*inner, item);
  return item;
}

void ParamView::showElement(QTreeWidgetItem& row) {
  const QScopedValueRollback showing(showing_, true);
  const ParamItem& item = *itemOf(&row);
  const HxParameter* parameter = item.parameter();
  row.setText(kName, QString::fromLatin1(item.element.name().c_str()));
  row.setText(kType, parameter ? HxParameter::typeName(parameter->type()) : "bundle");
  row.setText(kValue, parameter ? QString::fromStdString(parameter->print()) : QString());
  const bool bold = item.element.getFontStyleFlag(HxParamBase::Bold);
  const bool italic = item.element.getFontStyleFlag(HxParamBase::Italic);
  QFont font = tree_->font();
  font.setBold(bold);
  font.setItalic(italic);
  const QString tip = bold && italic ? translated("The selected objects have different values.") : QString();
  for (const int column : {kName, kType, kValue}) {
    row.setFont(column, font);
    row.setToolTip(column, tip);
    if (item.isFixed()) row.setForeground(column, palette().brush(QPalette::Disabled, QPalette::Text));
  }
}

/// The tree shows what came of it.
void ParamView::takeEdit(QTreeWidgetItem& row, int column) {
  if (showing_ || !draft_) return;
  const ParamItem& item = *itemOf(&row);
  HxParameter* parameter = item.parameter();
  const QString text = row.text(column);
  if (column == kName) {
    showRefusal(draft_->rename(item.bundle, item.element, text));
  } else if (column == kValue && parameter) {
    showRefusal(draft_->setValue(*parameter, text));
  } else if (const auto type = typeNamed(text); column == kType && parameter && type) {
    showRefusal(draft_->setType(*parameter, *type));
  }
  showElement(row);
}

void ParamView::startEdit(QTreeWidgetItem* row, int column) {
  const ParamItem& item = *itemOf(row);
  if (item.isFixed() || (column != kName && !item.parameter())) return;
  if (column == kName && item.element.getFlag(HxParamBase::NameLocked)) return;
  tree_->setCurrentItem(row, column);
  tree_->editItem(row, column);
}

/// Into the bundle that is current or holds what is.
void ParamView::add(HxParamBase* (ParamDraft::*make)(HxParamBundle&)) {
  if (!draft_) return;
  endEdit();
  QTreeWidgetItem* parent = tree_->currentItem();
  while (parent && !itemOf(parent)->asBundle()) parent = parent->parent();
  HxParamBundle& bundle = parent ? *itemOf(parent)->asBundle() : draft_->root();
  QTreeWidgetItem* item = addItem(bundle, *((*draft_).*make)(bundle), parent);
  if (parent) parent->setExpanded(true);
  showRefusal({});
  startEdit(item, kName);
}

void ParamView::removeCurrent() {
  endEdit();
  QTreeWidgetItem* row = tree_->currentItem();
  if (!draft_ || !row) return;
  const QString refusal = draft_->remove(itemOf(row)->bundle, itemOf(row)->element);
  if (refusal.isEmpty()) {
    const QScopedValueRollback showing(showing_, true);
    delete row;
  }
  showRefusal(refusal);
  showButtons();
}

/// A view takes over what is being typed when another row becomes current.
void ParamView::endEdit() {
  QTreeWidgetItem* current = tree_->currentItem();
  const int column = tree_->currentColumn();
  tree_->setCurrentItem(nullptr);
  tree_->setCurrentItem(current, column);
}

void ParamView::showRefusal(const QString& reason) {
  refusal_->setText(reason);
  refusal_->setVisible(!reason.isEmpty());
  if (reason.isEmpty()) {
    refused_.invalidate();
  } else {
    refused_.start();
  }
}

void ParamView::showButtons() {
  newParameter_->setEnabled(draft_ != nullptr);
  newBundle_->setEnabled(draft_ != nullptr);
  const QTreeWidgetItem* row = tree_->currentItem();
  remove_->setEnabled(row && !static_cast<const ParamItem*>(row)->element.getFlag(HxParamBase::Permanent));
}

}  // namespace quarn::detail
