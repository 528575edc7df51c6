#include "TestAuthority.h"

#include <QHostAddress>

#include <atomic>
#include <cstdlib>

#include <openssl/bio.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

namespace ferrolt {

namespace {

template <auto release>
struct Release {
    template <class Object>
    void operator()(Object *object) const {
        release(object);
    }
};

using Key = std::unique_ptr<EVP_PKEY, Release<EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Release<X509_free>>;
using Memory = std::unique_ptr<BIO, Release<BIO_free_all>>;

/// A test without certificates has nothing to show; the system's libcrypto does not fail here.
void require(bool done) {
    if (!done)
        std::abort();
}

Key newKey() {
    Key key(EVP_EC_gen("P-256"));
    require(key != nullptr);
    return key;
}

void extend(X509 *certificate, X509 *issuer, int kind, const QByteArray &value) {
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    X509_EXTENSION *extension = X509V3_EXT_conf_nid(nullptr, &context, kind, value.constData());
    require(extension != nullptr);
    X509_add_ext(certificate, extension, -1);
    X509_EXTENSION_free(extension);
}

constexpr long day = 24 * 60 * 60;

Certificate newCertificate(const Key &key, const char *name, long fromDay, long toDay) {
    // Two authorities of one process must not look alike, nor two certificates of one authority.
    static std::atomic<long> serial{1};
    Certificate certificate(X509_new());
    require(certificate != nullptr);
    X509_set_version(certificate.get(), X509_VERSION_3);
    const long number = serial++;
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), number);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), fromDay * day);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), toDay * day);
    X509_set_pubkey(certificate.get(), key.get());
    const QByteArray text = QByteArray(name) + ' ' + QByteArray::number(static_cast<qlonglong>(number));
    X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate.get()), "CN", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char *>(text.constData()), -1, -1, 0);
    return certificate;
}

QByteArray contents(const Memory &memory) {
    char *start = nullptr;
    const long size = BIO_get_mem_data(memory.get(), &start);
    return QByteArray(start, size);
}

QByteArray pem(X509 *certificate) {
    Memory memory(BIO_new(BIO_s_mem()));
    require(PEM_write_bio_X509(memory.get(), certificate) == 1);
    return contents(memory);
}

QByteArray pem(EVP_PKEY *key) {
    Memory memory(BIO_new(BIO_s_mem()));
    require(PEM_write_bio_PrivateKey(memory.get(), key, nullptr, nullptr, 0, nullptr, nullptr) == 1);
    return contents(memory);
}

QByteArray alternativeNames(const QStringList &hosts) {
    QByteArray names;
    for (const QString &host : hosts) {
        names += names.isEmpty() ? "" : ",";
        names += QHostAddress(host).isNull() ? "DNS:" : "IP:";
        names += host.toUtf8();
    }
    return names;
}

}  // namespace

struct TestAuthority::Keys {
    Key key;
    Certificate certificate;
};

TestAuthority::TestAuthority() : keys(std::make_unique<Keys>()) {
    keys->key = newKey();
    keys->certificate = newCertificate(keys->key, "Throwaway authority", -1, 30);
    X509 *own = keys->certificate.get();
    X509_set_issuer_name(own, X509_get_subject_name(own));
    extend(own, own, NID_basic_constraints, "critical,CA:TRUE");
    extend(own, own, NID_key_usage, "critical,keyCertSign,cRLSign");
    extend(own, own, NID_subject_key_identifier, "hash");
    require(X509_sign(own, keys->key.get(), EVP_sha256()) > 0);
}

TestAuthority::~TestAuthority() = default;

QByteArray TestAuthority::certificate() const {
    return pem(keys->certificate.get());
}

TestCertificate TestAuthority::issue(const QStringList &hosts, Validity validity) const {
    const Key key = newKey();
    const bool expired = validity == Validity::Expired;
    const Certificate issued = newCertificate(key, "Test server", expired ? -10 : -1, expired ? -5 : 20);
    X509 *authority = keys->certificate.get();
    X509_set_issuer_name(issued.get(), X509_get_subject_name(authority));
    extend(issued.get(), authority, NID_basic_constraints, "critical,CA:FALSE");
    extend(issued.get(), authority, NID_ext_key_usage, "serverAuth");
    extend(issued.get(), authority, NID_subject_alt_name, alternativeNames(hosts));
    require(X509_sign(issued.get(), keys->key.get(), EVP_sha256()) > 0);
    return {pem(issued.get()) + certificate(), pem(key.get())};
}

TestCertificate TestAuthority::selfSigned() {
    const Key key = newKey();
    const Certificate own = newCertificate(key, "Nobody", -1, 20);
    X509_set_issuer_name(own.get(), X509_get_subject_name(own.get()));
    extend(own.get(), own.get(), NID_subject_alt_name, "IP:127.0.0.1,DNS:localhost");
    require(X509_sign(own.get(), key.get(), EVP_sha256()) > 0);
    return {pem(own.get()), pem(key.get())};
}

}  // namespace ferrolt
