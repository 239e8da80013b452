#include "quarn/kernel/app/HxMessageSink.h"

HxMessageSink::~HxMessageSink() = default;
