#pragma once

#include <QString>

/// A byte count as people read it: two decimals at most, units B K M G T P E. A count that equals a unit's size
/// stays in the smaller unit: 1024 is "1024B", 1536 is "1.5K".
QString sizeText(quint64 bytes);
