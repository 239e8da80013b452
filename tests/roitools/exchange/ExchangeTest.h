#pragma once

#include <QFile>
#include <QTemporaryDir>
#include <gmock/gmock.h>
#include <string>
#include <vector>

#include "hxroi/HxRois.h"
#include "hxroi/details/BoxProxy.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxPreferences.h"
#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/app/HxSettingsMgr.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "roitools/exchange/exchangeFormats.h"

/// Sets that go to files and come back.
class ExchangeTest : public ::testing::Test {
protected:
  using Mask = hxroi::details::Mask;
  using Group = hxroi::details::Group;

  ExchangeTest() {
    HxApplication::instance()->settings()->getPreferences()->setTemporaryDirectory(folder_.path());
    HxRois::initClass();
    roitools::registerExchangeFormats();
  }
  ~ExchangeTest() override {
    HxObjectPool::instance().clear();
    roitools::unregisterExchangeFormats();
  }

  QString path(const QString& name) const { return folder_.filePath(name); }

  QString write(const QString& name, const std::string& bytes) const {
    QFile file(path(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_EQ(file.write(bytes.data(), static_cast<qint64>(bytes.size())), static_cast<qint64>(bytes.size()));
    return file.fileName();
  }

  std::string read(const QString& name) const {
    QFile file(path(name));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
    return file.readAll().toStdString();
  }

  QStringList files() const { return QDir(folder_.path()).entryList(QDir::Files, QDir::Name); }

  template <class Action>
  static std::string refusal(const Action& action) {
    try {
      action();
    } catch (const McException& exception) {
      return exception.what();
    }
    ADD_FAILURE() << "nothing was refused";
    return {};
  }

  static McHandle<Mask> makeMask(const char* name, const McVec3i& grid, const McColor& color) {
    return McHandle<Mask>(new Mask(name, grid, false, color, nullptr));
  }
  static void draw(Mask& mask, const McVec3i& origin, const McVec3i& size) {
    mask.getBox(origin, size, hxroi::AccessMode::ReadWrite) = true;
  }

  /// A field that carries the grid of a set, in the pool.
  static HxUniformLabelField3* addField(const McVec3i& grid, const HxGeometry3& geometry) {
    const McHandle<HxUniformLabelField3> field(new HxUniformLabelField3({grid.x, grid.y, grid.z}));
    field->setGeometry(geometry);
    HxObjectPool::instance().add(field, "field");
    return field.get();
  }

  static HxRois* loadSet(const QString& file, const HxLoadOptions& options = {}) {
    const QStringList names = HxFileTypes::instance().load(file, options);
    EXPECT_FALSE(names.isEmpty());
    return dynamic_cast<HxRois*>(HxObjectPool::instance().find(names.value(0)));
  }

  static std::string bitsOf(const Mask& mask) {
    const McVec3i size = mask.dimensions();
    const auto bits =
        static_cast<std::size_t>(size.x) * static_cast<std::size_t>(size.y) * static_cast<std::size_t>(size.z);
    std::string bytes((bits + 7) / 8, '\0');
    mask.volumeMask()->snapshot().fetch({{0, 0, 0}, {size.x - 1, size.y - 1, size.z - 1}}, bytes.data());
    return bytes;
  }

  /// Everything that is to come back: names, groups, order, colours. Voxels are compared by themselves.
  static std::vector<std::string> outlineOf(const HxRois& rois) {
    std::vector<std::string> lines;
    const auto line = [](const hxroi::details::Roi& roi) {
      const McColor color = roi.color(false);
      return roi.name() + " " + std::to_string(color.r) + " " + std::to_string(color.g) + " " + std::to_string(color.b);
    };
    for (const auto& roi : rois) {
      lines.push_back(line(*roi));
      if (const auto* const group = dynamic_cast<const Group*>(roi.get()))
        for (const Mask& member : *group) lines.push_back(group->name() + "/" + line(member));
    }
    return lines;
  }

  static void expectEqual(const HxRois& actual, const HxRois& expected) {
    EXPECT_EQ(outlineOf(actual), outlineOf(expected));
    ASSERT_EQ(actual.getNumberOfMasks(), expected.getNumberOfMasks());
    EXPECT_EQ(actual.dimensions(), expected.dimensions());
    for (const Mask* mask : expected.masks()) {
      const Mask* const other = actual.getMask(mask->name());
      ASSERT_TRUE(other) << mask->name();
      EXPECT_TRUE(bitsOf(*other) == bitsOf(*mask)) << mask->name();
    }
  }

  QTemporaryDir folder_;
  HxRecordingSink messages_;
};
