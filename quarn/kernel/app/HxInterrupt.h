#pragma once

#include <functional>

#include "quarn/kernel/export.h"

/// The user's wish to stop (Ctrl-C).
///
/// The first wish sets a flag, which progress displays show to long operations, and ends the running script with the
/// error "interrupted" at its next command, in a way that it cannot catch. The second one during the same script does
/// so again. The third ends the process as the signal would have.
///
/// A signal that asks the process to end (SIGTERM, SIGHUP) counts as two wishes: the script ends at its next command,
/// and the program tidies up and ends.
class QUARN_KERNEL_API HxInterrupt {
public:
  /// Takes over SIGINT, SIGTERM and SIGHUP for the rest of the process; the latter two stay ignored when
  /// they are. SIGXFSZ is ignored, so that a file that may not grow is an error of the write. Does it once.
  static void install();

  /// A wish, as from the keyboard. Any thread.
  static void request();
  /// True from a wish until it is answered. Any thread.
  static bool isRequested();
  /// True from a wish until clear(), answered or not. Any thread.
  static bool wasRequested();
  /// The number of the first signal that asked the process to end; 0 when there was none. Any thread. Never forgotten.
  static int endSignal();
  /// The wish has been heard; the number of wishes goes on counting.
  static void answer();
  /// Nothing runs any more that a wish could be meant for: forgets all of them.
  static void clear();

  /// Is told of each wish with their number since the last clear(), on a thread of its own once install() was called,
  /// else on the thread of request(). Set it before install().
  static void setListener(std::function<void(int wishes)> listener);

  /// A file descriptor that becomes readable with every wish, for loops that wait for input; -1 before install().
  static int descriptor();
  /// Empties the descriptor.
  static void drain();
};
