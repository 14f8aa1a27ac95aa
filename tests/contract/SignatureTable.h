#pragma once

#include <QMetaMethod>
#include <QMetaObject>

#include <vector>

/// Signatures that one class owes to the others. To add a class, add a row to a table; to add a table in a file of its
/// own (for a library that may be missing), make a static SignatureTable in it.
struct SignatureRow
{
    const QMetaObject *meta;
    QMetaMethod::MethodType type;
    bool ordered;           ///< declared in this order
    const char *signatures; ///< without parameter names, separated by blanks; no blank inside one
};

class SignatureTable
{
public:
    explicit SignatureTable(std::vector<SignatureRow> rows);
    /// Rows of all tables of the program.
    static const std::vector<SignatureRow> &all();

private:
    static std::vector<SignatureRow> &store();
};
