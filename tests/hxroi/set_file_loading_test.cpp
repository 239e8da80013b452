#include <QFileInfo>

#include "SetFileTest.h"
#include "hxroi/package.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/packages/HxPackageLoader.h"
#include "quarn/kernel/script/HxInterpreter.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

class SetFileLoading : public SetFileTest {};

TEST_F(SetFileLoading, EverythingComesBack) {
  fillSet();
  rois->getMask("A")->setProperty("text", std::string("quotes \" and\nlines"));
  rois->getMask("A")->setProperty("number", 7);
  rois->getMask("A")->setProperty("real", 0.1F);
  rois->getGroup("G")->setProperty("level", 3);
  rois->parameters.getMaterials(1)->getBundle("A")->set("Id", 12);
  ASSERT_EQ(save(), 1);
  const auto loaded = load(file);

  EXPECT_THAT(names(*loaded), ElementsAre("A", "G", "D"));
  EXPECT_EQ(loaded->getGroup("G")->size(), 2U);
  EXPECT_EQ(loaded->dimensions(), rois->dimensions());
  for (const char* name : {"A", "B", "C", "D", "G"}) {
    EXPECT_EQ(loaded->getRoi(name)->id(), rois->getRoi(name)->id()) << name;
    EXPECT_EQ(loaded->getRoi(name)->color(), rois->getRoi(name)->color()) << name;
    EXPECT_EQ(loaded->getRoi(name)->parameters().findBase("__color"), nullptr) << name;
    EXPECT_EQ(loaded->getRoi(name)->parameters().findBase("__filename"), nullptr) << name;
    EXPECT_TRUE(loaded->getRoi(name)->parameters().findBase("Id")->getFlag(102)) << name;
  }
  for (const char* name : {"A", "B", "C", "D"}) {
    EXPECT_EQ(count(*loaded->getMask(name)), count(*rois->getMask(name))) << name;
  }
  EXPECT_EQ(loaded->getMask("A")->stringProperty("text", false), "quotes \" and\nlines");
  EXPECT_EQ(loaded->getMask("A")->intProperty("number", false), 7);
  EXPECT_EQ(loaded->getMask("A")->floatProperty("real", false), 0.1F);
  EXPECT_EQ(loaded->getGroup("G")->intProperty("level", false), 3);
  EXPECT_EQ(loaded->getGroup("G")->parameters().bundleCount(), 0);
  EXPECT_EQ(loaded->parameters.findBase("__rois"), nullptr);
  EXPECT_NE(loaded->parameters.getMaterials()->getBundle("A", false), nullptr);
  EXPECT_FALSE(loaded->isModified());
  EXPECT_EQ(loaded->getSaveInfo(), HxApplication::instance()->skin()->getSaveInfo());
}

TEST_F(SetFileLoading, TheFileIsNotedWithItsAbsoluteName) {
  fillSet();
  ASSERT_EQ(save(), 1);
  EXPECT_EQ(load(file)->getLoadCmd(), QString::fromStdString(file.string()));
  const fs::path detour = folder / "temporary" / ".." / "set.ROIs.qm";
  EXPECT_EQ(load(fs::relative(detour))->getLoadCmd(),
            QFileInfo(QString::fromStdString(fs::relative(detour).string())).absoluteFilePath());
}

TEST_F(SetFileLoading, FileAndFolderMayMove) {
  fillSet();
  ASSERT_EQ(save(), 1);
  fs::create_directory(folder / "moved");
  fs::rename(file, folder / "moved" / "other.qm");
  fs::rename(masks, folder / "moved" / "set.ROIs-masks");
  EXPECT_EQ(count(*load(folder / "moved" / "other.qm")->getMask("A")), 125U);
}

TEST_F(SetFileLoading, WithoutANamedFolderTheStemDecides) {
  fillSet();
  ASSERT_EQ(save(), 1);
  const auto mesh = QuarnMesh::read(QString::fromStdString(file.string()));
  mesh->parameters.remove("masks-directory");
  const McHandle<HxRois> loaded(new HxRois);
  QString name;
  EXPECT_EQ(loaded->readQuarnMesh(mesh.get(), file.c_str(), name), 1);
  EXPECT_EQ(loaded->getNumberOfMasks(), 4U);
  const McHandle<HxRois> other(new HxRois);
  EXPECT_EQ(other->readQuarnMesh(mesh.get(), (folder / "other.qm").c_str(), name), 0);
}

TEST_F(SetFileLoading, TheReaderEntryRegistersOrDropsTheSet) {
  fillSet();
  ASSERT_EQ(save(), 1);
  auto mesh = QuarnMesh::read(QString::fromStdString(file.string()));
  EXPECT_EQ(hxroi_readRois(mesh.get(), file.c_str()), 1);
  ASSERT_EQ(HxObjectPool::instance().objects().size(), 1U);
  EXPECT_EQ(HxObjectPool::instance().objects()[0]->getName(), "set.ROIs.qm");
  HxObjectPool::instance().clear();

  fs::remove(masks / "A.ldm");
  EXPECT_EQ(hxroi_readRois(mesh.get(), file.c_str()), 0);
  EXPECT_TRUE(HxObjectPool::instance().objects().empty());
  EXPECT_THAT(console.ioErrors, ElementsAre(QString::fromStdString(file.string())));
}

TEST_F(SetFileLoading, ThroughThePackageAndScripts) {
  HxPackageLoader& packages = HxPackageLoader::instance();
  packages.addPath(QUARN_BINARY_DIR "/packages");
  packages.load("hxroi");
  HxObjectPool::instance().add(rois, "atlas");
  fillSet();

  HxInterpreter& tcl = HxInterpreter::instance();
  const QString name = QString::fromStdString(file.string());
  for (const char* format : {"QuarnMesh", "Zelto", "Mivro"}) {
    ASSERT_FALSE(tcl.evaluate(QString("atlas save %1 {%2}").arg(format, name))) << format;
    ASSERT_FALSE(tcl.evaluate(QString("set again [load {%1}]; $again allMasks").arg(name))) << format;
    EXPECT_EQ(tcl.result(), "A B C D");
    ASSERT_FALSE(tcl.evaluate("remove $again"));
  }
  fs::remove(masks / "D.ldm");
  const auto error = tcl.evaluate(QString("load {%1}").arg(name));
  ASSERT_TRUE(error);
  EXPECT_THAT(error->message.toStdString(), HasSubstr("set.ROIs.qm"));
  EXPECT_EQ(HxObjectPool::instance().objects().size(), 1U);

  EXPECT_THROW(packages.unload("hxroi"), McException);
  HxObjectPool::instance().clear();
  rois.reset();
  packages.unload("hxroi");
  EXPECT_TRUE(HxRois::getClassTypeId().isBad() || !HxRois::getClassTypeId().isRegistered());
  quarnpackage_hxroi_init();
  EXPECT_TRUE(HxRois::getClassTypeId().isRegistered());
}

TEST_F(SetFileLoading, SaversTakeSetsOnly) {
  const auto field = makeLabels({1, 1, 1}, {0});
  for (const auto saver : {&hxroi_saveQuarnMesh, &hxroi_saveZelto, &hxroi_saveMivro}) {
    EXPECT_EQ(saver(rois, file.c_str()), 1);
    EXPECT_EQ(saver(field, file.c_str()), 0);
  }
}

TEST_F(SetFileLoading, BundlesWithoutAFileAreGroups) {
  fillSet();
  const std::unique_ptr<HxParamBundle> group(rois->saveGroup(folder.string(), rois->getGroup("G")));
  const McHandle<Group> loaded(rois->loadGroup(folder, group.get()));
  EXPECT_EQ(loaded->name(), "G");
  EXPECT_EQ(loaded->size(), 2U);
  const std::unique_ptr<HxParamBundle> mask(rois->saveMask(folder.string(), rois->getMask("A")));
  EXPECT_EQ(mask->name(), "A");
  EXPECT_TRUE(fs::exists(folder / "A.ldm"));
}

}  // namespace
