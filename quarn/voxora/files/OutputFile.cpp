#include "quarn/voxora/files/OutputFile.h"

namespace hxvoxora {

OutputFile::~OutputFile() = default;

}  // namespace hxvoxora
