#include "hxroi/internal/RoiVisibilityState.h"

#include <QSet>
#include <algorithm>

#include "hxroi/internal/QxRoiTreeItem.h"
#include "hxroi/internal/QxRoiTreeModel.h"

namespace hxroi {

namespace {

const QString kFirstWord = QStringLiteral("visibility");

QStringList wordsOf(const QString& text) {
  QStringList words;
  qsizetype start = -1;
  for (qsizetype i = 0; i <= text.size(); ++i) {
    const bool isBlank = i == text.size() || text[i].isSpace();
    if (isBlank && start >= 0) words.append(text.mid(start, i - start));
    if (isBlank) {
      start = -1;
    } else if (start < 0) {
      start = i;
    }
  }
  return words;
}

/// Every node below the root, groups before their masks.
template <class Visit>
void visitNodes(const QxRoiTreeModel& model, Visit visit) {
  const QxRoiTreeItem* root = model.getRoot();
  for (int i = 0; root && i < root->childCount(); ++i) {
    const QxRoiTreeItem& item = *root->child(i);
    visit(item, true);
    for (int k = 0; k < item.childCount(); ++k) visit(*item.child(k), false);
  }
}

}  // namespace

QString RoiVisibilityState::wordFor(const QString& id, const QString& name) {
  const bool isWord = !id.isEmpty() && std::none_of(id.begin(), id.end(), [](QChar c) { return c.isSpace(); });
  return isWord ? id : name;
}

QString RoiVisibilityState::wordFor(const QxRoiTreeItem& item) {
  return wordFor(item.getId(), item.getName());
}

QString RoiVisibilityState::of(const QxRoiTreeModel& model) {
  QString text = kFirstWord;
  visitNodes(model, [&](const QxRoiTreeItem& item, bool) {
    text += " " + wordFor(item) + (model.isRoiVisible(item.getName(), false) ? " 1" : " 0");
  });
  return text;
}

std::optional<RoiVisibilityState> RoiVisibilityState::from(const QString& text) {
  const QStringList words = wordsOf(text);
  if (words.isEmpty() || words.front() != kFirstWord) return std::nullopt;
  RoiVisibilityState state;
  for (qsizetype i = 1; i + 1 < words.size(); i += 2) state.entries_.emplace_back(words[i], words[i + 1].toInt() != 0);
  return state;
}

void RoiVisibilityState::apply(const QxRoiTreeModel& model,
                               const std::function<void(bool, const QString&)>& setVisible) const {
  QSet<QString> known;
  visitNodes(model, [&](const QxRoiTreeItem& item, bool) { known << item.getName() << item.getId() << wordFor(item); });
  QSet<QString> remembered;
  for (const auto& [word, visible] : entries_) {
    if (!known.contains(word)) continue;
    setVisible(visible, word);
    remembered.insert(word);
  }
  visitNodes(model, [&](const QxRoiTreeItem& item, bool isTopLevel) {
    const bool isNamed = remembered.contains(wordFor(item)) || (isTopLevel && remembered.contains(item.getName()));
    if (!isNamed) setVisible(false, wordFor(item));
  });
}

}  // namespace hxroi
