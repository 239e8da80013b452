#include "quarn/voxora/nodes/SoNode.h"

SoNode::SoNode() = default;

SoNode::~SoNode() = default;
