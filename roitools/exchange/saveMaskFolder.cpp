#include <QFileInfo>
#include <new>
#include <set>
#include <vector>

#include "hxroi/HxRois.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "roitools/exchange/ExchangedSet.h"
#include "roitools/exchange/LabelImage.h"
#include "roitools/exchange/MaskTable.h"
#include "roitools/exchange/NewFolder.h"
#include "roitools/exchange/maskFolder.h"
#include "roitools/exchange/placeOfSet.h"
#include "roitools/exchange/sharedVoxels.h"

namespace roitools {

namespace {

std::string utf8(const std::string& latin1) {
  return QString::fromLatin1(latin1.c_str()).toStdString();
}

[[noreturn]] void refuse(const QString& file, const std::string& what) {
  throw McException(McException::excerpt(file.toStdString()) + ": " + what);
}

/// Names of files that are told apart by every file system, also by those that do not know upper from lower case, and
/// are not too long for any; the table tells whose they are.
class FileNames {
public:
  QString take(const std::string& name, const QString& suffix) {
    QString start = QString::fromStdString(name);
    // Room is left for a number, the suffix, and what stands behind while the file is written.
    while (start.toUtf8().size() > longestStart) start.chop(1);
    QString file = start;
    for (int number = 2; !taken_.insert(file.toLower()).second; ++number)
      file = start + QLatin1Char('-') + QString::number(number);
    return file + suffix;
  }

private:
  static constexpr qsizetype longestStart = 200;

  std::set<QString> taken_;
};

HxFileSaver saverFor(const HxUniformLabelField3& field, const QString& suffix, const QString& folder) {
  for (const HxSaverEntry& saver : HxFileTypes::instance().saversFor(field))
    if (saver.suffix.compare(suffix, Qt::CaseInsensitive) == 0) return saver.save;
  refuse(folder, "nothing that was loaded can write label fields as " + suffix.toStdString() + " files");
}

/// The masks of a set with what images need of them.
struct Writing {
  explicit Writing(const HxRois& rois, const QString& folder)
      : set(ExchangedSet::of(rois, folder)), grid(rois.dimensions()), geometry(geometryToWrite(rois, folder)) {
    for (const ExchangedMask& entry : set.masks)
      contents.push_back({entry.mask->volumeMask()->snapshot(), entry.mask->getBoundingBox()});
  }

  ExchangedSet set;
  McVec3i grid;
  HxGeometry3 geometry;
  std::vector<MaskContent> contents;
};

MaskTable::Row rowOf(const ExchangedGroup& group) {
  return {{}, {}, group.name, group.color};
}

/// The rows of a set: a group stands where the set has it.
MaskTable tableOf(const ExchangedSet& set, const QString& suffix) {
  MaskTable table;
  FileNames names;
  int position = 0;
  auto group = set.groups.begin();
  std::string present;
  const auto addGroups = [&] {
    for (; group != set.groups.end() && group->position <= position; ++group, ++position) {
      table.rows.push_back(rowOf(*group));
      present = group->name;
    }
  };
  for (const ExchangedMask& entry : set.masks) {
    if (entry.group.empty() || entry.group != present) addGroups();
    const std::string name = utf8(entry.mask->name());
    table.rows.push_back({names.take(name, suffix).toStdString(), name, entry.group, entry.mask->color(false)});
    if (entry.group.empty()) ++position;
  }
  for (; group != set.groups.end(); ++group) table.rows.push_back(rowOf(*group));
  return table;
}

void writeImages(const Writing& writing, const MaskTable& table, const QString& suffix, const NewFolder& folder,
                 const QString& path) {
  const McHandle<HxUniformLabelField3> field(
      new HxUniformLabelField3({writing.grid.x, writing.grid.y, writing.grid.z}));
  field->setGeometry(writing.geometry);
  const HxFileSaver save = saverFor(*field, suffix, path);
  std::size_t mask = 0;
  for (const MaskTable::Row& row : table.rows) {
    if (row.file.empty()) continue;
    const MaskContent& content = writing.contents[mask++];
    drawLabel(*field, content, 1);
    field->touch(8);
    const HxMessage::Mark before = HxMessage::mark();
    if (!save(field, folder.file(QString::fromStdString(row.file)).toUtf8().constData()))
      refuse(path, row.file + " cannot be written: " + HxMessage::newestSince(before).value_or("no reason was given"));
    drawLabel(*field, content, 0);
  }
}

}  // namespace

void saveMaskFolder(const HxRois& rois, const QString& path, const QString& suffix) {
  QString name = path;
  while (name.size() > 1 && name.endsWith(QLatin1Char('/'))) name.chop(1);
  name = QFileInfo(name).absoluteFilePath();
  try {
    const Writing writing(rois, name);
    const MaskTable table = tableOf(writing.set, suffix);
    NewFolder folder(name);
    writeImages(writing, table, suffix, folder, name);
    folder.write(QFileInfo(name).fileName() + MaskTable::suffix(), table.toText());
    folder.commit();
  } catch (const McException& failure) {
    const std::string text = failure.what();
    if (text.starts_with(McException::excerpt(name.toStdString()) + ": ")) throw;
    refuse(name, "cannot be saved: " + text);
  } catch (const std::bad_alloc&) {
    refuse(name, "cannot be saved: there is not enough memory");
  }
}

}  // namespace roitools
