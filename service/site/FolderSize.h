#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

namespace arkvale::service {

/// The bytes of all plain files below a folder. Follows no links. What vanishes or cannot be read meanwhile counts
/// nothing. Empty when the folder itself cannot be read, or @p stop was set.
std::optional<std::int64_t> folderSize(const std::string &folder, const std::atomic<bool> &stop);

} // namespace arkvale::service
