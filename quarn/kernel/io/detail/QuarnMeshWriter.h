#pragma once

#include <QByteArray>
#include <string_view>

#include "quarn/kernel/params/HxParamBundle.h"

namespace quarn::detail {

/// The whole file for a tree of parameters, checksum line included.
QByteArray quarnMeshText(const HxParamBundle& parameters, std::string_view flavour);

}  // namespace quarn::detail
