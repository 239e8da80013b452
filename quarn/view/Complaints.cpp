#include "quarn/view/Complaints.h"

#include "quarn/kernel/app/HxMessage.h"

namespace quarn::view {

void Complaints::tell(const QString& text) {
  if (told_.insert(text).second) HxMessage::warning(text);
}

}  // namespace quarn::view
