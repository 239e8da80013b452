#pragma once

#include <QString>

class HxCompModule;
class HxData;

namespace hxroi {

/// What a module with one button answers when it is asked whether it can make `data` again: `script` makes it; true
/// when result 0 is unchanged since it was made.
bool canMakeAgain(const HxCompModule& module, const HxData& data, QString& script);

}  // namespace hxroi
