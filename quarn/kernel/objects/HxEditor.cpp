#include "quarn/kernel/objects/HxEditor.h"

MC_ABSTRACT_CLASS_IMPL(HxEditor, HxObject)

HxEditor::~HxEditor() = default;
