#include "UpdateManifest.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSysInfo>

#include <memory>

#include <openssl/evp.h>

namespace {

constexpr int kKeySize = 32;
constexpr int kSignatureSize = 64;
constexpr int kLargestAnswer = 64 * 1024;
constexpr qint64 kLargestPackage = 4LL * 1024 * 1024 * 1024;
constexpr int kMostNotes = 16 * 1024;

QByteArray fromBase64(const QJsonValue &value)
{
    const auto result =
        QByteArray::fromBase64Encoding(value.toString().toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    return result ? *result : QByteArray();
}

bool isSigned(const QByteArray &text, const QByteArray &signature, const QByteArray &key)
{
    if (key.size() != kKeySize || signature.size() != kSignatureSize)
        return false;
    const auto bytes = [](const QByteArray &data) { return reinterpret_cast<const unsigned char *>(data.constData()); };
    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> open(
        EVP_PKEY_new_raw_public_key(EVP_PKEY_ED25519, nullptr, bytes(key), size_t(key.size())), &EVP_PKEY_free);
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    return open && context && EVP_DigestVerifyInit(context.get(), nullptr, nullptr, nullptr, open.get()) == 1 &&
           EVP_DigestVerify(context.get(), bytes(signature), size_t(signature.size()), bytes(text),
                            size_t(text.size())) == 1;
}

bool matches(const QString &text, const char *pattern)
{
    return QRegularExpression(QRegularExpression::anchoredPattern(QLatin1String(pattern))).match(text).hasMatch();
}

} // namespace

QString UpdateManifest::thisPlatform()
{
    const QString kernel =
        QSysInfo::kernelType() == QLatin1String("winnt") ? QStringLiteral("windows") : QSysInfo::kernelType();
    return kernel + QLatin1Char('-') + QSysInfo::buildCpuArchitecture();
}

UpdateManifest::Verdict UpdateManifest::parse(const QByteArray &answer, const QByteArray &key, const QUrl &address,
                                              UpdateManifest *manifest)
{
    if (answer.size() > kLargestAnswer)
        return Verdict::Unreadable;
    const QJsonObject envelope = QJsonDocument::fromJson(answer).object();
    const QByteArray text = fromBase64(envelope.value(QLatin1String("manifest")));
    if (text.isEmpty())
        return Verdict::Unreadable;
    if (!isSigned(text, fromBase64(envelope.value(QLatin1String("signature"))), key))
        return Verdict::Untrusted;

    const QJsonObject told = QJsonDocument::fromJson(text).object();
    const auto textOf = [&](const char *word) { return told.value(QLatin1String(word)).toString(); };
    if (textOf("product") != QLatin1String("ArkvaleTolma") || textOf("platform") != thisPlatform())
        return Verdict::Untrusted;
    UpdateManifest found;
    found.version = textOf("version");
    found.notes = textOf("notes").left(kMostNotes);
    found.name = textOf("name");
    found.package = address.resolved(QUrl(textOf("package"), QUrl::StrictMode));
    found.size = qint64(told.value(QLatin1String("size")).toDouble());
    found.sha256 = QByteArray::fromHex(textOf("sha256").toLatin1());
    found.issued = qint64(told.value(QLatin1String("issued")).toDouble());
    // The maker's own mistakes are not better than a stranger's malice.
    const bool sensible = matches(found.version, "[0-9]{1,9}(\\.[0-9]{1,9}){0,5}") &&
                          matches(found.name, "[A-Za-z0-9][A-Za-z0-9._+-]{0,127}") && found.size > 0 &&
                          found.size <= kLargestPackage && found.sha256.size() == 32 && found.issued > 0;
    const QString scheme = found.package.scheme();
    const bool safe = scheme == QLatin1String("https") ||
                      (scheme == QLatin1String("http") && address.scheme() == QLatin1String("http"));
    if (!sensible || !safe || found.package.host().isEmpty())
        return Verdict::Unreadable;
    *manifest = found;
    return Verdict::Good;
}
