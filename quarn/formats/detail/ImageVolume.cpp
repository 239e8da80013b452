#include "quarn/formats/detail/ImageVolume.h"

namespace quarn::formats::detail {

ImageVolume::~ImageVolume() = default;

}  // namespace quarn::formats::detail
