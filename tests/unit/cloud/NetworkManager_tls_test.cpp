// The HTTP client against servers with good and bad certificates.

#include "cloud/NetworkManager.h"
#include "tests/support/Await.h"
#include "tests/support/LogCapture.h"
#include "tests/unit/cloud/ScriptedServer.h"

#include <QFile>
#include <QProcess>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslSocket>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

constexpr auto kServerName = "IP:127.0.0.1";
constexpr int kHandshakeFailed = 6;

/// An authority that exists for the test only, and the certificates that it gives.
class Authority {
public:
    Authority() {
        openssl({"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-keyout",
                 file("ca.key"), "-out", file("ca.pem"), "-days", "2", "-subj", "/CN=Test authority"});
    }

    [[nodiscard]] QSslCertificate certificate() const {
        return QSslCertificate::fromPath(file("ca.pem")).value(0);
    }

    /// What a server of this name speaks TLS with. `words` go to openssl.
    [[nodiscard]] QSslConfiguration server(const QString& name, const QStringList& words = {}) const {
        openssl({"req", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-keyout",
                 file("leaf.key"), "-out", file("leaf.csr"), "-subj", "/CN=Test server", "-addext",
                 "subjectAltName=" + name});
        openssl(QStringList{"x509", "-req", "-in", file("leaf.csr"), "-CA", file("ca.pem"), "-CAkey",
                            file("ca.key"), "-copy_extensions", "copy", "-out", file("leaf.pem")} +
                (words.isEmpty() ? QStringList{"-days", "2"} : words));
        return configuration("leaf");
    }

    /// As server(), by nobody's word but its own.
    [[nodiscard]] QSslConfiguration selfSigned(const QString& name) const {
        openssl({"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-keyout",
                 file("self.key"), "-out", file("self.pem"), "-days", "2", "-subj", "/CN=Test server",
                 "-addext", "subjectAltName=" + name});
        return configuration("self");
    }

private:
    [[nodiscard]] QString file(const QString& name) const { return folder.filePath(name); }

    static void openssl(const QStringList& words) {
        QProcess process;
        process.start("openssl", words);
        EXPECT_TRUE(process.waitForFinished());
        EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
    }

    [[nodiscard]] QSslConfiguration configuration(const QString& stem) const {
        QFile key(file(stem + ".key"));
        EXPECT_TRUE(key.open(QIODevice::ReadOnly));
        QSslConfiguration made = QSslConfiguration::defaultConfiguration();
        made.setLocalCertificate(QSslCertificate::fromPath(file(stem + ".pem")).value(0));
        made.setPrivateKey(QSslKey(&key, QSsl::Ec));
        return made;
    }

    const QTemporaryDir folder;
};

class CloudTls : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(QSslSocket::supportsSsl());
        QSslConfiguration trusting = usual;
        trusting.addCaCertificate(authority.certificate());
        QSslConfiguration::setDefaultConfiguration(trusting);
    }

    void TearDown() override { QSslConfiguration::setDefaultConfiguration(usual); }

    /// Posts to a server and returns what came: "error N" for each requestError, then the success.
    QStringList post(ScriptedServer& server, const QString& path = "/a") {
        NetworkManager manager;
        QStringList events;
        bool isCompleted = false;
        QObject::connect(&manager, &NetworkManager::requestError, &manager,
                         [&](int, int code) { events.append(QString("error %1").arg(code)); });
        QObject::connect(&manager, &NetworkManager::requestCompleted, &manager, [&](int, bool success) {
            events.append(success ? "success" : "failure");
            isCompleted = true;
        });
        manager.setTimeout(20000);
        manager.post(server.url(path), {{"secret", "S"}}, {{"token", "T"}});
        EXPECT_TRUE(await([&] { return isCompleted; }, 30000));
        return events;
    }

    void expectRefused(const QSslConfiguration& tls) {
        ScriptedServer server(tls);
        server.answer("/a", "{}");
        EXPECT_EQ(post(server), (QStringList{QString("error %1").arg(kHandshakeFailed), "failure"}));
        EXPECT_TRUE(server.requests().isEmpty());
    }

    const LogCapture log;
    const QSslConfiguration usual = QSslConfiguration::defaultConfiguration();
    const Authority authority;
};

TEST_F(CloudTls, ATrustedCertificateOfTheHostIsGood) {
    ScriptedServer server(authority.server(kServerName));
    server.answer("/a", "{}");
    EXPECT_EQ(post(server), QStringList{"success"});
    EXPECT_EQ(server.lastRequest().headers["token"], "T");
}

TEST_F(CloudTls, ACertificateOfAnotherHostEndsTheCall) {
    expectRefused(authority.server("IP:127.0.0.2,DNS:other.example"));
}

TEST_F(CloudTls, ACertificateThatIsOverEndsTheCall) {
    expectRefused(
        authority.server(kServerName, {"-not_before", "20200101000000Z", "-not_after", "20200201000000Z"}));
}

TEST_F(CloudTls, ACertificateThatHasNotBegunEndsTheCall) {
    expectRefused(
        authority.server(kServerName, {"-not_before", "20990101000000Z", "-not_after", "20990201000000Z"}));
}

TEST_F(CloudTls, ASelfSignedCertificateEndsTheCall) {
    expectRefused(authority.selfSigned(kServerName));
}

TEST_F(CloudTls, ACertificateOfAnUnknownAuthorityEndsTheCall) {
    const Authority other;
    expectRefused(other.server(kServerName));
}

TEST_F(CloudTls, AServerWithoutTlsEndsTheCall) {
    ScriptedServer server;
    server.answer("/a", "{}");
    NetworkManager manager;
    bool isCompleted = false;
    QObject::connect(&manager, &NetworkManager::requestCompleted, &manager, [&](int, bool success) {
        EXPECT_FALSE(success);
        isCompleted = true;
    });
    manager.setTimeout(2000);
    manager.get(server.url("/a").replace("http://", "https://"));
    EXPECT_TRUE(await([&] { return isCompleted; }, 30000));
    EXPECT_TRUE(server.requests().isEmpty());
}

TEST_F(CloudTls, ARedirectionToPlainHttpIsNotFollowed) {
    ScriptedServer plain;
    plain.answer("/b", "{}");
    ScriptedServer server(authority.server(kServerName));
    server.script("/a", sending("HTTP/1.1 302 Found\r\nLocation: " + plain.url("/b").toLatin1() +
                                "\r\nContent-Length: 0\r\n\r\n"));
    EXPECT_EQ(post(server).last(), "failure");
    EXPECT_TRUE(plain.requests().isEmpty());
}

} // namespace
