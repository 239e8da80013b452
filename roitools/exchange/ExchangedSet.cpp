#include "roitools/exchange/ExchangedSet.h"

#include <QStringList>
#include <algorithm>
#include <map>

#include "hxroi/HxRois.h"
#include "hxroi/details/Group.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxMessage.h"

namespace roitools {

using hxroi::details::Group;
using hxroi::details::Mask;
using hxroi::details::Roi;

namespace {

constexpr qsizetype mostNamesTold = 10;
constexpr std::size_t mostEmptyGroups = 1000;

std::string utf8(const std::string& latin1) {
  return QString::fromLatin1(latin1.c_str()).toStdString();
}

std::string latin1(const std::string& utf8) {
  return QString::fromStdString(utf8).toLatin1().toStdString();
}

QString excerpt(const std::string& text) {
  return QString::fromStdString(McException::excerpt(text));
}

bool hasMoreThanIsExchanged(const Roi& roi, bool keepsSegments) {
  const HxParamBundle& parameters = roi.parameters();
  bool hasParameters = false;
  for (int i = 0; i < parameters.size(); ++i) {
    const std::string& name = parameters[i]->name();
    hasParameters = hasParameters || (name != "Id" && !(keepsSegments && name == "Segment"));
  }
  return hasParameters || roi.colormap(false) || roi.colormapRange(false) != std::pair(0.0F, 1.0F) ||
         !roi.isAlphaEnabled();
}

void tellNames(const QString& file, const QString& what, const QStringList& names) {
  if (names.isEmpty()) return;
  QString list = names.mid(0, mostNamesTold).join(QStringLiteral(", "));
  if (names.size() > mostNamesTold) list += QStringLiteral(", and %1 more").arg(names.size() - mostNamesTold);
  HxMessage::printf("%s: %s: %s", qUtf8Printable(excerpt(file.toStdString())), qUtf8Printable(what),
                    qUtf8Printable(list));
}

/// Groups in the order of a file, each name once.
class GroupList {
public:
  GroupList(const std::vector<ExchangedGroup>& groups, const QString& file) {
    QStringList repeated;
    for (const ExchangedGroup& group : groups) {
      if (byName_.try_emplace(group.name, &group).second) {
        inOrder_.push_back(&group);
      } else {
        repeated.append(excerpt(group.name));
      }
    }
    tellNames(file, QStringLiteral("groups stand there more than once, the first counts"), repeated);
  }

  const ExchangedGroup* find(const std::string& name) const {
    const auto found = byName_.find(name);
    return found == byName_.end() ? nullptr : found->second;
  }
  auto begin() const { return inOrder_.begin(); }
  auto end() const { return inOrder_.end(); }

private:
  std::map<std::string, const ExchangedGroup*> byName_;
  std::vector<const ExchangedGroup*> inOrder_;
};

}  // namespace

ExchangedSet ExchangedSet::of(const HxRois& rois, const QString& file) {
  if (rois.getNumberOfMasks() == 0)
    throw McException(McException::excerpt(file.toStdString()) + ": the set has no masks, and thus no grid");
  ExchangedSet all;
  int position = 0;
  for (const auto& roi : rois) {
    if (auto* const mask = dynamic_cast<Mask*>(roi.get())) all.masks.push_back({mask, {}});
    if (auto* const group = dynamic_cast<Group*>(roi.get())) {
      all.groups.push_back({utf8(group->name()), group->color(), position});
      for (Mask& member : *group) all.masks.push_back({&member, all.groups.back().name});
    }
    ++position;
  }
  return all;
}

void ExchangedSet::insertInto(HxRois& rois, const QString& file) const {
  const GroupList known(groups, file);
  std::map<std::string, Group*> made;
  const auto makeGroup = [&](const ExchangedGroup& group) {
    return new Group(latin1(group.name), group.color, nullptr);
  };
  for (const ExchangedMask& entry : masks) {
    if (entry.group.empty()) {
      rois.addRoi(entry.mask);
      continue;
    }
    Group*& group = made[entry.group];
    if (!group) {
      const ExchangedGroup* const described = known.find(entry.group);
      const ExchangedGroup unknown{entry.group, entry.mask->color(false)};
      group = makeGroup(described ? *described : unknown);
      rois.addRoi(group);
    }
    group->addMask(entry.mask);
  }
  QStringList leftOut;
  std::size_t inserted = 0;
  for (const ExchangedGroup* group : known) {
    if (made.contains(group->name)) continue;
    if (inserted < mostEmptyGroups) {
      rois.insertRoi(makeGroup(*group), static_cast<unsigned long>(group->position));
      ++inserted;
    } else {
      leftOut.append(excerpt(group->name));
    }
  }
  tellNames(file, QStringLiteral("there are more than %1 groups without members; left out").arg(mostEmptyGroups),
            leftOut);
}

void tellWhatIsNotExchanged(const HxRois& rois, const QString& target, bool keepsSegments) {
  const auto hasMore = [keepsSegments](const Roi& roi) { return hasMoreThanIsExchanged(roi, keepsSegments); };
  const auto anyHasMore = [&](const auto& roi) {
    const auto* const group = dynamic_cast<const Group*>(roi.get());
    return hasMore(*roi) || (group && std::any_of(group->begin(), group->end(), hasMore));
  };
  if (!std::any_of(rois.begin(), rois.end(), anyHasMore)) return;
  HxMessage::printf(
      "%s: parameters, colormaps and transparency of the ROIs are not in it; a set file (.ROIs.qm) holds them",
      McException::excerpt(target.toStdString()).c_str());
}

std::string FittedNames::fit(const std::string& utf8, const std::string& fallback) {
  const std::string fitting = utf8.empty() ? fallback : Roi::fixedName(latin1(utf8));
  const std::string name = unique(fitting);
  if (name != fitting) {
    repeated_.append(QStringLiteral("\"%1\" -> %2").arg(excerpt(utf8), excerpt(name)));
  } else if (name != utf8) {
    changed_.append(QStringLiteral("\"%1\" -> %2").arg(excerpt(utf8), excerpt(name)));
  }
  taken_.insert(name);
  return name;
}

/// Without the digits at its end, and the first free number from 0 behind.
std::string FittedNames::unique(const std::string& name) {
  if (!taken_.contains(name)) return name;
  const std::string stem = name.substr(0, name.find_last_not_of("0123456789") + 1);
  std::size_t& number = nextNumber_[stem];
  while (taken_.contains(stem + std::to_string(number))) ++number;
  return stem + std::to_string(number);
}

void FittedNames::tell(const QString& file) const {
  tellNames(file, QStringLiteral("names were changed to those that ROIs can have"), changed_);
  tellNames(file, QStringLiteral("names stand there more than once and were numbered"), repeated_);
}

}  // namespace roitools
