#pragma once

#include <QString>
#include <QStringList>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "hxroi/details/Mask.h"
#include "quarn/base/McColor.h"
#include "quarn/base/McHandle.h"
#include "roitools/export.h"

class HxRois;

namespace roitools {

/// A mask on its way to or from a file; texts are UTF-8.
struct ExchangedMask {
  McHandle<hxroi::details::Mask> mask;
  std::string group;  ///< empty: it stands for itself
};

struct ExchangedGroup {
  std::string name;
  McColor color;
  int position = 0;  ///< among the top-level ROIs; counts for a group without members only
};

/// Masks and groups of a set as lists. Members of a group need not follow each other; the group stands where its first
/// member does.
struct ROITOOLS_API ExchangedSet {
  std::vector<ExchangedMask> masks;  ///< in the order of the set, groups taken apart
  std::vector<ExchangedGroup> groups;

  /// Throws McException for a set without masks, which has no grid; the text begins with `file`.
  static ExchangedSet of(const HxRois& rois, const QString& file);

  /// Inserts all into an empty set. Names are those of ROIs, and no two masks have the same. Tells of groups that stand
  /// there again, the first of a name counting, and of those without members that are too many; `file` begins the line.
  void insertInto(HxRois& rois, const QString& file) const;
};

/// Tells in one line what a set has that files of other programs cannot hold: nothing when there is nothing. The line
/// begins with `target`. Some keep what masks know of the segments that they were made of.
ROITOOLS_API void tellWhatIsNotExchanged(const HxRois& rois, const QString& target, bool keepsSegments);

/// Makes names for the ROIs of a set out of those that a file has.
class ROITOOLS_API FittedNames {
public:
  /// The name in the form that ROIs have, with a number behind when it was given before; `fallback`, which has that
  /// form, stands in for an empty one.
  std::string fit(const std::string& utf8, const std::string& fallback);

  /// Tells which names were changed to fit, and which were taken: at most a line each.
  void tell(const QString& file) const;

private:
  std::string unique(const std::string& name);

  std::set<std::string> taken_;
  std::map<std::string, std::size_t> nextNumber_;  ///< of names without the digits at their end; those below are taken
  QStringList changed_, repeated_;
};

}  // namespace roitools
