#pragma once

#include "Secrets.h"

#include <string>

#include <nlohmann/json_fwd.hpp>

namespace arkvale::service {

/// Makes a data folder with three sub-centers, users for every outcome of a login, and a drive to look around in. A
/// folder that holds a service's data already is left as it is; one that holds something else is refused, with an
/// English sentence in @p error. A making that was interrupted is made anew.
bool makeDemoDrive(const std::string &dataFolder, const PasswordCost &cost, std::string *error);

/// The users of the demo: [{"username", "password", "login": what becomes of it}].
nlohmann::json demoUsers();

} // namespace arkvale::service
