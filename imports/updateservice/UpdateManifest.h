#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

/// What the maker says of the newest package for this platform. A plain value; parse() is the only way to a filled
/// one, so that whoever holds it knows that the maker has signed it.
class UpdateManifest
{
public:
    enum class Verdict
    {
        Good,
        Unreadable, ///< not the answer of an update service
        Untrusted   ///< not signed with the key, or signed for another program or platform
    };

    /// @param answer the whole answer of the update address, 64 KiB at most
    /// @param key Ed25519 public key, 32 bytes
    /// @param address where the answer came from; the package's address is below it and never less safe
    static Verdict parse(const QByteArray &answer, const QByteArray &key, const QUrl &address,
                         UpdateManifest *manifest);

    /// The platform that this program was built for, such as "windows-x86_64".
    static QString thisPlatform();

    QString version; ///< numbers separated by dots
    QString notes;   ///< plain text of a foreign language perhaps; may be empty
    QString name;    ///< file name of the package: ASCII letters, digits, "-_.+"
    QUrl package;
    qint64 size = 0;   ///< bytes, above 0
    QByteArray sha256; ///< 32 bytes
    qint64 issued = 0; ///< milliseconds since the epoch; grows with every manifest of the maker
};
