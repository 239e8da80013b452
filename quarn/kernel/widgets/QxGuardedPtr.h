#pragma once

#include <QPointer>

/// A pointer to a QObject that reads null once that has been destroyed. Does not own it.
template <class T>
using QxGuardedPtr = QPointer<T>;
