#pragma once

#include <QByteArray>
#include <QStringList>

#include <memory>

namespace ferrolt {

/// A server's certificate with its key and, behind it, the certificates that it sends along; all PEM.
struct TestCertificate {
    QByteArray chain;
    QByteArray key;
};

/// A certificate authority that exists for one test and is trusted by whoever is given its certificate.
class TestAuthority {
  public:
    enum class Validity { Current, Expired };

    TestAuthority();
    ~TestAuthority();
    TestAuthority(const TestAuthority &) = delete;
    TestAuthority &operator=(const TestAuthority &) = delete;

    /// PEM; for HttpConfiguration::extraAuthorities, or a file for curl --cacert.
    QByteArray certificate() const;

    /// Signs a certificate for these host names and addresses.
    TestCertificate issue(const QStringList &hosts = {QStringLiteral("127.0.0.1"),
                                                      QStringLiteral("localhost")},
                          Validity validity = Validity::Current) const;

    /// A certificate that nobody vouches for.
    static TestCertificate selfSigned();

  private:
    struct Keys;
    std::unique_ptr<Keys> keys;
};

}  // namespace ferrolt
