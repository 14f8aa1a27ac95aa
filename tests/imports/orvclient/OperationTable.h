#pragma once

#include "OrvClient.h"

#include <functional>
#include <vector>

/// One row for each operation of the client: a sample call and what it must look like on the wire.
struct OperationRow
{
    const char *name;
    const char *answer;                                             ///< name of the answer signal without "Finished"
    std::function<qint64(OrvClient &, const QString &folder)> call; ///< folder: where local files go
    const char *request;                                            ///< method and target
    const char *body;                                               ///< JSON, or empty
    bool isSigned = true;
    const char *file = ""; ///< local file that the answer's body goes to
};

const std::vector<OperationRow> &operationTable();
