#pragma once

#include "SubCenter.h"
#include "TransferSettings.h"

#include <QByteArray>
#include <QList>

#include <optional>

/// Reading of the service's answers. Every key is optional, a value of the wrong type counts as absent, and a body that
/// is no JSON object, or unreasonably large, gives nothing. Usable from any thread.
namespace ServiceReplies {

/// Entries without an id, and further entries of the same id, are left out; at most 256 are read.
std::optional<QList<SubCenter>> subCenters(const QByteArray &body);
std::optional<QList<Advertisement>> advertisements(const QByteArray &body);
std::optional<TransferLimit> transferLimit(const QByteArray &body);

} // namespace ServiceReplies
