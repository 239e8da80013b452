#include "fuzz/imageSeeds.h"

#include <libdeflate.h>
#include <memory>
#include <stdexcept>

#include "tests/formats/dicomBytes.h"
#include "tests/formats/niftiBytes.h"
#include "tests/formats/tiffBytes.h"

namespace fuzz {

namespace {

enum class Packing { gzip, zlib };

std::string packed(const std::string& bytes, Packing packing) {
  const std::unique_ptr<libdeflate_compressor, void (*)(libdeflate_compressor*)> compressor(
      libdeflate_alloc_compressor(6), &libdeflate_free_compressor);
  std::string result(bytes.size() + 100, '\0');
  const auto compress = packing == Packing::gzip ? &libdeflate_gzip_compress : &libdeflate_zlib_compress;
  result.resize(compress(compressor.get(), bytes.data(), bytes.size(), result.data(), result.size()));
  if (result.empty()) throw std::runtime_error("bytes cannot be packed");
  return result;
}

std::string voxels(std::size_t bytes) {
  std::string result;
  for (std::size_t i = 0; i < bytes; ++i) result += static_cast<char>(i % 4);
  return result;
}

/// Numbers its inputs.
class Seeds {
public:
  Seeds(const SaveSeed& save, std::string target) : save_(save), target_(std::move(target)) {}
  void add(const std::string& bytes) {
    save_(target_ + "/" + std::to_string(number_++), std::as_bytes(std::span(bytes)));
  }

private:
  const SaveSeed& save_;
  const std::string target_;
  int number_ = 0;
};

void saveNrrd(const SaveSeed& save) {
  Seeds seeds(save, "nrrd");
  const std::string space =
      "space: left-posterior-superior\nspace directions: (1,0,0) (0,2,0) (0,0,3)\nspace origin: (1,2,3)\n";
  seeds.add("NRRD0004\ntype: uchar\ndimension: 3\n" + space + "sizes: 3 4 2\nencoding: raw\n\n" + voxels(24));
  seeds.add(
      "NRRD0005\n# ours\ntype: short\ndimension: 3\nsizes: 3 2 2\nendian: big\nspacings: 1 2 nan\nunits: \"mm\" " +
      std::string("\"um\" \"\"\naxis mins: 0 1 2\naxis maxs: 3 4 5\ncenters: node cell ???\nkey:=value\\n\n") +
      "encoding: gzip\n\n" + packed(voxels(24), Packing::gzip));
  seeds.add("NRRD0001\ntype: double\ndimension: 4\nsizes: 1 3 2 1\nkinds: list domain domain domain\nbyte skip: -1\n" +
            std::string("encoding: raw\n\n") + voxels(60));
  seeds.add(
      "NRRD0002\ntype: float\ndimension: 3\nsizes: 1 1 1\ndata file: image.nrrd\nbyte skip: 4\nencoding: raw\n\n");
}

void saveMetaImage(const SaveSeed& save) {
  Seeds seeds(save, "metaImage");
  const std::string start = "ObjectType = Image\nNDims = 3\nBinaryData = True\nBinaryDataByteOrderMSB = False\n";
  const std::string place = "TransformMatrix = 1 0 0 0 1 0 0 0 1\nOffset = 1 2 3\nElementSpacing = 1 2 3\n";
  seeds.add(start + place + "DimSize = 3 4 2\nElementType = MET_UCHAR\nElementDataFile = LOCAL\n" + voxels(24));
  const std::string bytes = packed(voxels(48), Packing::zlib);
  seeds.add(start + "CompressedData = True\nCompressedDataSize = " + std::to_string(bytes.size()) +
            "\nDimSize = 3 4 2\nElementType = MET_SHORT\nElementDataFile = LOCAL\n" + bytes);
  seeds.add(start + "DimSize = 1 1 1\nElementNumberOfChannels = 1\nHeaderSize = -1\nElementType = MET_DOUBLE\n" +
            "ElementDataFile = image.mha\n" + voxels(8));
}

void saveNifti(const SaveSeed& save) {
  Seeds seeds(save, "nifti");
  NiftiBytes bytes;
  bytes.setVoxels(std::vector<std::uint8_t>(60, 2));
  seeds.add(bytes.file());
  seeds.add(packed(bytes.file(), Packing::gzip));
  bytes.setScale(2.0F, -1.0F);
  bytes.setUnturnedQuaternion({1.0F, 2.0F, 3.0F});
  seeds.add(bytes.file());
  bytes.setAffine({{{0.0F, -1.0F, 0.0F, 3.0F}, {1.0F, 0.0F, 0.0F, 2.0F}, {0.0F, 0.0F, 2.0F, 1.0F}}});
  bytes.setIntent(1002);
  seeds.add(bytes.file());
}

void saveTiff(const SaveSeed& save) {
  Seeds seeds(save, "tiff");
  TiffBytes bytes({TiffBytes::page(0), TiffBytes::page(40)});
  seeds.add(bytes.file());
  bytes.pages[0].description = "ImageJ=1.53\nimages=2\nslices=2\n";
  bytes.pages[0].tags[TiffBytes::XResolution] = bytes.pages[0].tags[TiffBytes::YResolution] = 10;
  for (auto& page : bytes.pages) page.tags[TiffBytes::Orientation] = 3;
  seeds.add(bytes.file());
  TiffBytes packedPage({TiffBytes::page(0)});
  packedPage.pages[0].voxels = packed(packedPage.pages[0].voxels, Packing::zlib);
  packedPage.pages[0].tags[TiffBytes::Compression] = 8;
  seeds.add(packedPage.file());
  packedPage.pages[0].voxels = std::string("\x0B\0\1\2\3\4\5\6\7\x08\x09\x0A\x0B", 13);
  packedPage.pages[0].tags[TiffBytes::Compression] = 32773;
  seeds.add(packedPage.file());
  TiffBytes tiled({TiffBytes::page(0)});
  auto& tags = tiled.pages[0].tags;
  tiled.pages[0].voxels = voxels(256);
  tags.erase(TiffBytes::RowsPerStrip);
  tags[TiffBytes::TileWidth] = tags[TiffBytes::TileHeight] = 16;
  tags[TiffBytes::TileOffset] = 8;
  tags[TiffBytes::TileBytes] = 256;
  seeds.add(tiled.file());
}

void saveDicom(const SaveSeed& save) {
  Seeds seeds(save, "dicom");
  DicomBytes bytes(1.0, 3);
  seeds.add(bytes.file());
  seeds.add(bytes.file(false));
  bytes.addSequence();
  seeds.add(bytes.file());
  bytes.setNumber(DicomBytes::sign, 1);
  seeds.add(bytes.file());
}

void saveTables(const SaveSeed& save) {
  Seeds names(save, "labelNames");
  for (const char* table : {"1 Precentral_L 2001\n2 Precentral_R 2002\n", "0\tUnclassified\n1\tsome name 7\n",
                            "# colours\n1 artery 216 101 79 255\r\n2 vein 0 151 206 255\n",
                            "1 216 101 79 1 1 1 \"left arm\"\n2 0 0 255 0.5 0 1 \"b\"\n",
                            "\xEF\xBB\xBF"
                            "3 G_Frontal_Sup-1 2\n"})
    names.add(table);
  names.add(voxels(768));
  Seeds masks(save, "maskTable");
  const std::string head = "file,name,group,red,green,blue\n";
  masks.add(head + ",,pair,1,0,0.5\none.nii.gz,one,pair,0.1,0.33333334,0\ntwo.nii.gz,two,,1,1,1\n");
  masks.add(head + "\"a,b.nrrd\",\"a \"\"b\"\"\",,0,0,0\r\n");
}

void saveStreams(const SaveSeed& save) {
  Seeds seeds(save, "byteStream");
  const std::string text = "some bytes, some bytes, some bytes and an end";
  const std::string gzip = packed(text, Packing::gzip), zlib = packed(text, Packing::zlib);
  for (const char form : {'\0', '\1', '\2', '\3'})
    for (const std::string& bytes : {text, gzip, zlib, gzip + gzip, gzip + "tail"}) seeds.add(form + bytes);
}

void saveSegmentations(const SaveSeed& save) {
  Seeds seeds(save, "segmentation");
  const auto file = [](const std::string& axes, const std::string& keys, const std::string& data) {
    return "NRRD0004\ntype: uint8\n" + axes + "space: left-posterior-superior\nencoding: raw\nspace origin: (0,0,0)\n" +
           keys + "\n" + data;
  };
  const std::string three = "dimension: 3\nsizes: 3 2 2\nspace directions: (1,0,0) (0,1,0) (0,0,1)\n";
  const std::string four =
      "dimension: 4\nsizes: 2 3 2 1\nspace directions: none (1,0,0) (0,1,0) (0,0,1)\n"
      "kinds: list domain domain domain\n";
  const std::string first =
      "Segment0_Name:=a\nSegment0_ID:=a\nSegment0_LabelValue:=1\nSegment0_Layer:=0\n"
      "Segment0_Color:=1 0.5 0\nSegment0_Extent:=0 2 0 1 0 1\nSegment0_Tags:=TerminologyEntry:x|\n";
  const std::string second = "Segment1_Name:=b\nSegment1_LabelValue:=2\nSegment1_Layer:=1\n";
  seeds.add(file(three, first, voxels(12)));
  seeds.add(file(three, "", voxels(12)));
  seeds.add(file(four, first + second, voxels(12)));
  seeds.add(file(three, "Segment7_LabelValue:=3\nSegmentation_ReferenceImageExtentOffset:=0 0 0\n", voxels(12)));
}

}  // namespace

void saveImages(const SaveSeed& save) {
  saveNrrd(save);
  saveMetaImage(save);
  saveNifti(save);
  saveTiff(save);
  saveDicom(save);
  saveTables(save);
  saveStreams(save);
  saveSegmentations(save);
}

}  // namespace fuzz
