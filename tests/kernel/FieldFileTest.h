#pragma once

#include <bit>
#include <cstring>
#include <functional>
#include <gmock/gmock.h>
#include <memory>
#include <string>
#include <vector>

#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/io/HxFieldFile.h"
#include "quarn/kernel/io/QuarnMesh.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/voxora/files/MemoryFileSystem.h"
#include "tests/kernel/expectMcException.h"
#include "tests/support/RecordingProgress.h"

using Field = McHandle<HxUniformScalarField3>;

/// Everything of a field that its files must keep, as bytes.
struct FieldContent {
  explicit FieldContent(const HxUniformScalarField3& field)
      : className(field.getTypeId().getName()),
        type(field.primType()),
        dimensions(field.latticeDimensions()),
        voxels(static_cast<std::size_t>(field.voxelCount()) * HxUniformScalarField3::primTypeSize(field.primType())) {
    if (!voxels.empty()) std::memcpy(voxels.data(), field.data(), voxels.size());
    for (int i = 0; i < 6; ++i) place.push_back(std::bit_cast<std::uint32_t>(field.boundingBox()[i]));
    const HxGeometry3 geometry = field.geometry();
    const auto add = [this](const auto& reals) {
      for (const double real : reals) place.push_back(std::bit_cast<std::uint64_t>(real));
    };
    add(geometry.origin);
    add(geometry.voxelSize);
    add(geometry.direction);
    QuarnMesh mesh;
    mesh.parameters.copy(field.parameters);
    parameters = mesh.toText(true, false).toStdString();
  }

  std::string className;
  McPrimType type;
  McDim3l dimensions;
  std::vector<std::byte> voxels;
  std::vector<std::uint64_t> place;
  std::string parameters;

  bool operator==(const FieldContent&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const FieldContent& content) {
  return out << content.className << " of " << content.voxels.size() << " bytes, " << content.parameters;
}

/// Asks a function each time that it is asked whether to go on.
class AskingProgress : public RecordingProgress {
public:
  explicit AskingProgress(std::function<bool(int question)> isInterrupted) : ask_(std::move(isInterrupted)) {}
  bool isInterrupted() override { return ask_(++questions); }

  int questions = 0;

private:
  std::function<bool(int)> ask_;
};

/// A disk in memory with the folder "/d", in which the files are saved.
class FieldFileTest : public ::testing::Test {
protected:
  FieldFileTest() { disk.makeDirectory("/d"); }
  ~FieldFileTest() override { HxObjectPool::instance().clear(); }

  /// A label field with materials whose voxels take about half a chunk.
  static McHandle<HxUniformLabelField3> makeLabels(int seed = 1) {
    const McHandle<HxUniformLabelField3> field(new HxUniformLabelField3(McDim3l(60, 80, 100)));
    std::uint8_t* labels = field->lattice().getLabels();
    for (std::int64_t i = 0; i < field->voxelCount(); ++i) labels[i] = static_cast<std::uint8_t>((i / 7000 + seed) % 3);
    HxParamBundle& materials = *field->materials();
    materials.getBundle("Exterior")->set("Id", 0);
    materials.getBundle("Bone")->setMaterialColor(McColor(1, 0.1f * static_cast<float>(seed), 0.3f));
    materials.getBundle("Soft_tissue")->set("Name", "soft \"tissue\" \\ \xC3\xA4\n[exec x]");
    return field;
  }

  /// A field of noise, which no chunk can pack, of `chunks` chunks less some bytes.
  static Field makeNoise(std::uint32_t seed = 1, std::int64_t chunks = 1) {
    Field field(new HxUniformScalarField3(McDim3l(512, 511, chunks), McPrimType::Float));
    std::uint32_t state = seed;
    field->visitValues([&](auto* values) {
      for (std::int64_t i = 0; i < field->voxelCount(); ++i) {
        state = state * 1664525u + 1013904223u;
        const std::uint32_t bits = state ^ state >> 15;
        std::memcpy(values + i, &bits, std::min(sizeof bits, sizeof *values));
      }
    });
    return field;
  }

  static std::string path(const std::string& name = "a.field.qm") { return "/d/" + name; }
  static QString qpath(const std::string& name = "a.field.qm") { return QString::fromStdString(path(name)); }

  void save(HxUniformScalarField3& field, const std::string& name = "a.field.qm") {
    const hxvoxora::FileSystemOverride current(disk);
    HxFieldFile::save(field, qpath(name));
  }

  Field read(const std::string& name = "a.field.qm") {
    const hxvoxora::FileSystemOverride current(disk);
    return HxFieldFile::read(qpath(name));
  }

  /// The text of the refusal of reading.
  std::string refusal(const std::string& name = "a.field.qm") {
    return textOfException([&] { read(name); });
  }

  void expectSame(const HxUniformScalarField3& field, const std::string& name = "a.field.qm") {
    EXPECT_TRUE(FieldContent(field) == FieldContent(*read(name))) << FieldContent(field).parameters;
  }

  std::unique_ptr<QuarnMesh> mesh(const std::string& name = "a.field.qm") {
    return QuarnMesh::parse(QByteArray::fromStdString(text(name)), QString::fromStdString(name));
  }

  std::string text(const std::string& name) {
    const auto bytes = disk.content(path(name));
    return std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  }

  void setText(const std::string& name, const std::string& text) {
    const auto* bytes = reinterpret_cast<const std::byte*>(text.data());
    disk.setContent(path(name), {bytes, bytes + text.size()});
  }

  /// Changes what the parameter file says, with a right checksum.
  void edit(const std::function<void(HxParamBundle& root, HxParamBundle& field)>& change,
            const std::string& name = "a.field.qm") {
    const auto edited = mesh(name);
    change(edited->parameters, *edited->parameters.getBundle("field"));
    setText(name, edited->toText(true, false).toStdString());
  }

  std::string dataFile(const std::string& name = "a.field.qm") {
    std::string data;
    mesh(name)->parameters.getBundle("field")->findString("data-file", data);
    return data;
  }

  /// The findings of a check, those that are wrong with "-" in front.
  std::vector<std::string> verify(const std::string& name = "a.field.qm") {
    const hxvoxora::FileSystemOverride current(disk);
    std::vector<std::string> findings;
    HxFieldFile::verify(*mesh(name), qpath(name), [&](const QString& finding, bool isSound) {
      findings.push_back((isSound ? "+" : "-") + finding.toStdString());
    });
    return findings;
  }

  hxvoxora::MemoryFileSystem disk;
  HxRecordingSink sink;
};
