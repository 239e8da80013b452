// A package as it should be: a class of data, a reader of parameter files, a saver.

#include <cstdio>

#include "quarn/kernel/io/QuarnMesh.h"
#include "quarn/kernel/objects/HxData.h"

class HxWellData : public HxData {
public:
  MC_CLASS_DECL(HxWellData)
  HxWellData() = default;
};

MC_CLASS_IMPL(HxWellData, HxData)

extern "C" {

__attribute__((visibility("default"))) void quarnpackage_well_init() {
  HxWellData::initClass();
}

__attribute__((visibility("default"))) void quarnpackage_well_finish() {
  HxWellData::exitClass();
}

/// Fails for a file that holds the integer "broken".
__attribute__((visibility("default"))) int readWellData(QuarnMesh* mesh, const char* filename) {
  int broken = 0;
  if (mesh->parameters.findNum("broken", broken)) return 0;
  auto* data = new HxWellData;
  data->parameters = mesh->parameters;
  HxData::registerData(data, QString::fromUtf8(filename).section('/', -1).section('.', 0, 0));
  return 1;
}

__attribute__((visibility("default"))) int saveWellData(HxData* data, const char* filename) {
  QuarnMesh mesh;
  mesh.parameters = data->parameters;
  mesh.parameters.set("ContentType", "HxWellData");
  return mesh.write(filename, QuarnMesh::TEXT, nullptr, true, false);
}
}
