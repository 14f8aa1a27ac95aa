// What a service says to the client: listings, records, tickets, shares, updates.

#include "FileItemReader.h"
#include "FuzzInput.h"
#include "ShareReader.h"
#include "TicketClient.h"
#include "UpdateManifest.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <openssl/evp.h>
#include <sanitizer/lsan_interface.h>

namespace {

/// Qt's reader of JSON forgets the first of two arrays or objects of one key; that is not looked for here.
using ForgetfulReader = __lsan::ScopedDisabler;

/// A maker whose signature is right, so that what stands behind it is looked at too.
class Maker
{
public:
    Maker()
        : m_key(EVP_PKEY_new_raw_private_key(EVP_PKEY_ED25519, nullptr,
                                             reinterpret_cast<const unsigned char *>("no key of anybody, for tests..."),
                                             32))
    {
    }
    QByteArray publicKey() const
    {
        QByteArray key(32, 0);
        std::size_t size = 32;
        EVP_PKEY_get_raw_public_key(m_key, reinterpret_cast<unsigned char *>(key.data()), &size);
        return key;
    }
    QByteArray envelope(const QByteArray &manifest) const
    {
        QByteArray signature(64, 0);
        std::size_t size = 64;
        EVP_MD_CTX *context = EVP_MD_CTX_new();
        EVP_DigestSignInit(context, nullptr, nullptr, nullptr, m_key);
        EVP_DigestSign(context, reinterpret_cast<unsigned char *>(signature.data()), &size,
                       reinterpret_cast<const unsigned char *>(manifest.constData()), std::size_t(manifest.size()));
        EVP_MD_CTX_free(context);
        return QJsonDocument({{"manifest", QString::fromLatin1(manifest.toBase64())},
                              {"signature", QString::fromLatin1(signature.toBase64())}})
            .toJson();
    }

private:
    EVP_PKEY *m_key;
};

void update(const QByteArray &body, bool isSigned)
{
    static const Maker maker;
    static const QByteArray key = maker.publicKey();
    const ForgetfulReader reader;
    const QUrl address(QStringLiteral("https://updates.example/latest"));
    UpdateManifest manifest;
    const auto verdict = UpdateManifest::parse(isSigned ? maker.envelope(body) : body, key, address, &manifest);
    require(isSigned || verdict != UpdateManifest::Verdict::Good);
    if (verdict == UpdateManifest::Verdict::Good) {
        require(manifest.size > 0 && manifest.sha256.size() == 32 && manifest.issued > 0);
        require(manifest.package.scheme() == QLatin1String("https") && !manifest.name.contains(QLatin1Char('/')));
    } else {
        require(manifest.package.isEmpty() && manifest.version.isEmpty());
    }
}

void shares(const QByteArray &body)
{
    for (const ShareRecord &record : ShareReader::records(body))
        require(!record.shareTime.isValid() || record.shareTime.toMSecsSinceEpoch() > 0);
    for (const UserInfo &user : ShareReader::users(body))
        require(!user.username.isEmpty());
    ShareRecord record;
    ShareReader::readMade(body, &record);
    UserInfo user;
    ShareReader::readProfile(body, &user);
    QString userPath, filePath;
    ShareReader::readPlace(body, &userPath, &filePath);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzInput in(data, size);
    const std::uint8_t kind = in.byte();
    const auto time = kind & 8 ? FileItemReader::ListingTime : FileItemReader::PlainTime;
    const QByteArray body(reinterpret_cast<const char *>(in.data()), int(in.left()));
    switch (kind % 8) {
    case 0:
        (void)FileItemReader::items(body, time);
        break;
    case 1:
        (void)FileItemReader::item(body, time);
        break;
    case 2:
        (void)FileItemReader::names(body);
        break;
    case 3: {
        const ForgetfulReader reader;
        const TicketAnswer answer = TicketClient::parse(body);
        require(answer.error != ZpdtError::None || !answer.ticket.isEmpty());
        break;
    }
    case 4:
    case 5:
        shares(body);
        break;
    default:
        update(body, kind % 8 == 6);
    }
    return 0;
}
