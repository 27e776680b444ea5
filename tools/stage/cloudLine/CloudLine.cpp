// Leads all requests of a program to the virtual cloud service, without a change of the program. Qt loads it
// as a generic plugin, before the program makes its HTTP client:
//     QT_PLUGIN_PATH=<folder of this plugin's folder "generic"> QT_QPA_GENERIC_PLUGINS=cloudline
//     VEXO_CLOUD_PORT=<port of the service on loopback> VEXO_CLOUD_AUTHORITY=<PEM file of its authority>
// The service is the HTTP proxy for every host, and its authority is trusted beside those of the system:
// names, TLS and the check of certificates are those of the program.

#include <QGenericPlugin>
#include <QList>
#include <QNetworkProxy>
#include <QObject>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QString>

namespace {

void leadToService() {
    bool isPort = false;
    const int port = qEnvironmentVariableIntValue("VEXO_CLOUD_PORT", &isPort);
    const QList<QSslCertificate> authorities =
        QSslCertificate::fromPath(qEnvironmentVariable("VEXO_CLOUD_AUTHORITY"));
    if (!isPort || authorities.isEmpty()) {
        qFatal("cloud line: no port, or no authority");
    }
    QNetworkProxy::setApplicationProxy(
        QNetworkProxy(QNetworkProxy::HttpProxy, QStringLiteral("127.0.0.1"), static_cast<quint16>(port)));
    QSslConfiguration trusting = QSslConfiguration::defaultConfiguration();
    trusting.addCaCertificates(authorities);
    QSslConfiguration::setDefaultConfiguration(trusting);
}

class CloudLinePlugin : public QGenericPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "cloud_line.json")

public:
    QObject* create(const QString& key, const QString& /*words*/) override {
        if (key != QLatin1StringView("cloudline")) {
            return nullptr;
        }
        leadToService();
        return new QObject;
    }
};

} // namespace

#include "CloudLine.moc"
