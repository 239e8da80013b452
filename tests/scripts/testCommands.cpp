#include "testCommands.h"

#include <QCryptographicHash>

#include "hxroi/HxRois.h"
#include "hxroi/details/BoxProxy.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/script/HxCommandTable.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

namespace {

using hxroi::details::Group;
using hxroi::details::Mask;
using hxroi::details::Roi;

const McVec3i kGrid(70, 40, 36);

struct Box {
  McVec3i origin, size;
};

Box boxOf(const QString& word) {
  const QStringList n = word.split(' ');
  const auto at = [&](int i) { return n.value(i).toInt(); };
  return {McVec3i(at(0), at(2), at(4)), McVec3i(at(1) - at(0) + 1, at(3) - at(2) + 1, at(5) - at(4) + 1)};
}

HxRois& setNamed(const QString& name) {
  if (auto* const rois = dynamic_cast<HxRois*>(HxObjectPool::instance().find(name))) return *rois;
  throw McException("there is no set " + name.toStdString());
}

const Mask& maskNamed(const HxCommandCall& call) {
  if (const Mask* const mask = setNamed(call.words()[0]).getMask(call.words()[1].toLatin1().toStdString()))
    return *mask;
  throw McException("there is no mask " + call.words()[1].toStdString());
}

void mask(HxCommandCall& call) {
  const QStringList& words = call.words();
  const McHandle<Mask> made(new Mask(words[1].toLatin1().toStdString(), kGrid, false, McColor(1, 0.5F, 0), nullptr));
  for (const QString& word : words.mid(2)) {
    const Box box = boxOf(word);
    auto view = made->getBox(box.origin, box.size, hxroi::AccessMode::WriteOnly);
    view = true;
  }
  HxRois& rois = setNamed(words[0]);
  rois.addRoi(made);
  rois.rebuildPortList();
}

void labels(HxCommandCall& call) {
  const QStringList& words = call.words();
  const McHandle<HxUniformLabelField3> field(new HxUniformLabelField3(McDim3l(kGrid.x, kGrid.y, kGrid.z)));
  for (qsizetype i = 1; i + 1 < words.size(); i += 2) {
    const auto [o, n] = boxOf(words[i + 1]);
    for (int z = o.z; z < o.z + n.z; ++z)
      for (int y = o.y; y < o.y + n.y; ++y)
        for (int x = o.x; x < o.x + n.x; ++x) field->setValue(x, y, z, words[i].toInt());
  }
  HxObjectPool::instance().add(field, words[0]);
}

void voxels(HxCommandCall& call) {
  const auto end = SbVec3i32(kGrid.x - 1, kGrid.y - 1, kGrid.z - 1);
  const auto count = maskNamed(call).volumeMask()->countSetVoxels(SbBox3i32(SbVec3i32(0, 0, 0), end));
  call.setResult(QString::number(count));
}

QString lineOf(const Roi& roi) {
  const McColor color = roi.color(true);
  return QStringLiteral("%1 %2 %3,%4,%5")
      .arg(QString::fromLatin1(roi.name()), QString::fromLatin1(roi.id()))
      .arg(color.r)
      .arg(color.g)
      .arg(color.b);
}

QString lineOf(const Mask& mask) {
  QByteArray bits;
  for (const bool bit : mask.getConstBox()) bits.append(bit ? '1' : '0');
  return lineOf(static_cast<const Roi&>(mask)) + ' ' + QCryptographicHash::hash(bits, QCryptographicHash::Sha1).toHex();
}

void dump(HxCommandCall& call) {
  QStringList lines;
  const HxRois& rois = setNamed(call.words()[0]);
  for (const auto& roi : rois) {
    lines += "top " + lineOf(*roi);
    if (const auto* group = dynamic_cast<const Group*>(roi.get()))
      for (const Mask& member : *group) lines += "  member " + QString::fromLatin1(member.name());
  }
  for (const Mask* each : rois.masks()) lines += "mask " + lineOf(*each);
  call.setResult(lines.join('\n'));
}

}  // namespace

void addTestCommands() {
  HxCommandTable& table = HxCommandTable::instance();
  if (table.find("voxels")) return;
  table.add({"mask", "SET NAME ?BOX...?", 2, -1, "Adds a mask.", mask});
  table.add({"labels", "NAME ?LABEL BOX...?", 1, -1, "Makes a label field.", labels});
  table.add({"voxels", "SET MASK", 2, 2, "Counts the voxels of a mask.", voxels});
  table.add({"dump", "SET", 1, 1, "Tells everything of a set.", dump});
}
