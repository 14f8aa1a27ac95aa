#include "TestCertificate.h"

#include <QSslCertificate>
#include <QSslKey>
#include <QSslSocket>

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

namespace {

QByteArray text(BIO *bio)
{
    char *data = nullptr;
    const long size = BIO_get_mem_data(bio, &data);
    const QByteArray out(data, int(size));
    BIO_free(bio);
    return out;
}

} // namespace

QSslConfiguration makeServerTls(const QByteArray &host)
{
    EVP_PKEY *key = EVP_RSA_gen(2048);
    X509 *certificate = X509_new();
    X509_set_version(certificate, 2);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate), 1);
    X509_gmtime_adj(X509_getm_notBefore(certificate), -3600);
    X509_gmtime_adj(X509_getm_notAfter(certificate), 24 * 3600);
    X509_set_pubkey(certificate, key);
    X509_NAME *name = X509_get_subject_name(certificate);
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8, reinterpret_cast<const unsigned char *>(host.constData()),
                               host.size(), -1, 0);
    X509_set_issuer_name(certificate, name);
    X509_EXTENSION *extension =
        X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, ("DNS:" + host).constData());
    X509_add_ext(certificate, extension, -1);
    X509_EXTENSION_free(extension);
    X509_sign(certificate, key, EVP_sha256());

    BIO *certificateText = BIO_new(BIO_s_mem());
    PEM_write_bio_X509(certificateText, certificate);
    BIO *keyText = BIO_new(BIO_s_mem());
    PEM_write_bio_PrivateKey(keyText, key, nullptr, nullptr, 0, nullptr, nullptr);
    X509_free(certificate);
    EVP_PKEY_free(key);

    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificate(QSslCertificate(text(certificateText)));
    configuration.setPrivateKey(QSslKey(text(keyText), QSsl::Rsa));
    configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
    return configuration;
}
