#pragma once

#include <QtGlobal>

/// Bounds that this process puts on itself before it looks at foreign bytes: @p memory in bytes, no core file, and no
/// processor time without end. What breaks a bound ends the process.
void limitDecoder(quint64 memory);
