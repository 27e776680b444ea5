// The HTTP client against a real server on loopback.

#include "cloud/NetworkManager.h"
#include "tests/support/Await.h"
#include "tests/support/LogCapture.h"
#include "tests/unit/cloud/ScriptedServer.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QSet>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace {

using namespace std::chrono_literals;

constexpr qsizetype kMegabyte = qsizetype{1024} * 1024;

struct Completion {
    int id;
    bool success;
    QVariantMap response;
};

/// The most memory that this process has had, in KiB.
qint64 peakResidentKib() {
    QFile status("/proc/self/status");
    EXPECT_TRUE(status.open(QIODevice::ReadOnly));
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:")) {
            return line.simplified().split(' ').value(1).toLongLong();
        }
    }
    return 0;
}

class CloudNetwork : public testing::Test {
protected:
    void SetUp() override {
        make({.hasInterface = [] { return true; }, .probeAddress = QUrl(server.url("/probe"))});
    }

    void make(const NetworkSetting& setting) {
        manager = std::make_unique<NetworkManager>(setting);
        QObject::connect(manager.get(), &NetworkManager::requestCompleted, manager.get(),
                         [this](int id, bool success, const QVariantMap& response) {
                             completions.push_back({id, success, response});
                             events.append(QString("completed %1 %2").arg(id).arg(success));
                         });
        QObject::connect(manager.get(), &NetworkManager::requestError, manager.get(),
                         [this](int id, int code, const QString& text) {
                             errorTexts.append(text);
                             events.append(QString("error %1 %2").arg(id).arg(code));
                         });
        QObject::connect(manager.get(), &NetworkManager::fileDownloaded, manager.get(),
                         [this](int id, const QString& path) {
                             EXPECT_TRUE(QFileInfo::exists(path));
                             events.append(QString("file %1").arg(id));
                         });
        QObject::connect(manager.get(), &NetworkManager::onlineStatusChanged, manager.get(),
                         [this](bool isOnline) { events.append(isOnline ? "online" : "offline"); });
    }

    /// Waits for the end of so many requests and returns the last.
    Completion ended(std::size_t count = 1) {
        EXPECT_TRUE(await([&] { return completions.size() >= count; }, 30000));
        return completions.empty() ? Completion{} : completions.back();
    }

    [[nodiscard]] QString inFolder(const QString& name) const { return folder.filePath(name); }

    static QByteArray contents(const QString& path) {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    void writeFile(const QString& name, const QByteArray& bytes) const {
        QFile file(inFolder(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }

    const LogCapture log;
    const QTemporaryDir folder;
    ScriptedServer server;
    std::unique_ptr<NetworkManager> manager;
    std::vector<Completion> completions;
    QStringList events;
    QStringList errorTexts;
};

TEST_F(CloudNetwork, TheLastNumberIsZeroBeforeAnyRequestAndTwoAfterTwo) {
    EXPECT_EQ(manager->getNextRequestId(), 0);
    EXPECT_EQ(manager->get(server.url("/a")), 1);
    EXPECT_EQ(manager->get(server.url("/a")), 2);
    EXPECT_EQ(manager->getNextRequestId(), 2);
    ended(2);
}

TEST_F(CloudNetwork, AnUnknownMethodFailsWithMinusOneAndTakesANumber) {
    EXPECT_EQ(manager->requestWithMethod("PATCH", server.url("/a?secret=1")), 1);
    EXPECT_EQ(events, QStringList{"error 1 -1"});
    EXPECT_EQ(errorTexts, QStringList{"Failed to create network request"});
    EXPECT_EQ(log.count("Failed to create request: PATCH " + server.url("/a")), 1);
    EXPECT_EQ(manager->getNextRequestId(), 1);
}

TEST_F(CloudNetwork, MethodsAreTakenInAnyCaseOfLetters) {
    server.answer("/a", "{}");
    const std::vector<std::pair<QString, QByteArray>> methods{
        {"get", "GET"}, {"post", "POST"}, {"Post_List", "POST"}, {"put", "PUT"}, {"dELETE", "DELETE"}};
    std::size_t count = 0;
    for (const auto& [given, sent] : methods) {
        manager->requestWithMethod(given, server.url("/a"));
        ended(++count);
        EXPECT_EQ(server.lastRequest().method, sent);
    }
}

TEST_F(CloudNetwork, BodiesAreIndentedJson) {
    server.answer("/a", "{}");
    manager->post(server.url("/a"), {{"b", 1}, {"a", "x"}});
    ended(1);
    EXPECT_EQ(server.lastRequest().body, "{\n    \"a\": \"x\",\n    \"b\": 1\n}\n");
    manager->put(server.url("/a"));
    ended(2);
    EXPECT_EQ(server.lastRequest().body, "{\n}\n");
    manager->get(server.url("/a"));
    ended(3);
    EXPECT_EQ(server.lastRequest().body, "");
}

TEST_F(CloudNetwork, AListGoesInTheOrderOfItsKeys) {
    server.answer("/a", "{}");
    manager->postDataList(server.url("/a"), {{"b", 1}, {"a", 2}});
    ended(1);
    EXPECT_EQ(server.lastRequest().body, "[\n    2,\n    1\n]\n");
    QVariantMap eleven;
    for (int index = 0; index <= 10; ++index) {
        eleven[QString::number(index)] = index;
    }
    manager->postDataList(server.url("/a"), eleven);
    ended(2);
    EXPECT_EQ(QJsonDocument::fromJson(server.lastRequest().body).array().toVariantList(),
              (QVariantList{0, 1, 10, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST_F(CloudNetwork, HeadersOfTheCallWinOverTheDefaultOnes) {
    server.answer("/a", "{}");
    manager->get(server.url("/a"), {{"Accept", "text/plain"}, {"X-More", "ü"}});
    ended(1);
    EXPECT_EQ(server.lastRequest().headers["user-agent"], "Vexo Deck/1.0.0");
    EXPECT_EQ(server.lastRequest().headers["accept"], "text/plain");
    EXPECT_EQ(server.lastRequest().headers["content-type"], "application/json");
    EXPECT_EQ(server.lastRequest().headers["x-more"], "ü");
}

TEST_F(CloudNetwork, DefaultHeadersAreReplacedAsAWholeAndTheLogHidesTheirSecrets) {
    server.answer("/a", "{}");
    manager->setDefaultHeaders({{"token", "s3cret"}, {"accessKey", "k3y"}, {"User-Agent", "x"}});
    manager->get(server.url("/a"));
    ended(1);
    EXPECT_EQ(server.lastRequest().headers["token"], "s3cret");
    EXPECT_EQ(server.lastRequest().headers["user-agent"], "x");
    EXPECT_FALSE(server.lastRequest().headers.contains("accept"));
    EXPECT_EQ(log.count("Default headers updated:"), 1);
    EXPECT_EQ(log.count("s3cret") + log.count("k3y"), 0);
}

TEST_F(CloudNetwork, AHeaderWithoutAValueTakesTheDefaultOneAway) {
    server.answer("/a", "{}");
    manager->setDefaultHeaders({{"token", "T"}, {"accessKey", "K"}, {"Accept", "A"}});
    manager->get(server.url("/a"), {{"token", QVariant::fromValue(nullptr)}, {"accessKey", QVariant()}});
    ended();
    const auto& headers = server.lastRequest().headers;
    EXPECT_FALSE(headers.contains("token"));
    EXPECT_FALSE(headers.contains("accesskey"));
    EXPECT_EQ(headers["accept"], "A");
}

TEST_F(CloudNetwork, SecretsFollowNoRedirectionToAnotherHost) {
    ScriptedServer other;
    other.answer("/b", "file");
    server.script("/a", sending("HTTP/1.1 302 Found\r\nLocation: " + other.url("/b").toLatin1() +
                                "\r\nContent-Length: 0\r\n\r\n"));
    manager->setDefaultHeaders({{"token", "T"}});
    manager->downloadFile(server.url("/a"), inFolder("a"));
    EXPECT_FALSE(ended().success);
    EXPECT_TRUE(other.requests().isEmpty());
    manager->downloadFile(server.url("/a"), inFolder("a"), {{"token", QVariant()}});
    EXPECT_TRUE(ended(2).success);
    EXPECT_EQ(contents(inFolder("a")), "file");
    EXPECT_FALSE(other.lastRequest().headers.contains("token"));
}

TEST_F(CloudNetwork, AHeaderCannotBeginASecondOne) {
    server.answer("/a", "{}");
    manager->get(server.url("/a"), {{"X-One", "a\r\nX-Two: b"}, {"X\nThree", "c"}, {"X-Four", "d"}});
    ended(1);
    const QMap<QByteArray, QByteArray> headers = server.lastRequest().headers;
    EXPECT_FALSE(headers.contains("x-one") || headers.contains("x-two") || headers.contains("three"));
    EXPECT_EQ(headers["x-four"], "d");
}

TEST_F(CloudNetwork, AnAnswerHasItsMembersItsStatusAndItsHeaders) {
    server.script("/a", sending("HTTP/1.1 201 Created\r\nX-Name: v\r\nContent-Length: 43\r\n\r\n"
                                R"({"code":0,"status_code":"x","headers":"y" })"));
    manager->get(server.url("/a"));
    const Completion completion = ended();
    EXPECT_TRUE(completion.success);
    EXPECT_EQ(completion.response["code"].toInt(), 0);
    EXPECT_EQ(completion.response["status_code"], QVariant(201));
    EXPECT_EQ(completion.response["headers"].toMap().value(
                  "x-name", completion.response["headers"].toMap().value("X-Name")),
              QVariant("v"));
    EXPECT_EQ(events, QStringList{"completed 1 1"});
    EXPECT_EQ(log.count("Request 1 completed successfully"), 1);
}

TEST_F(CloudNetwork, ANumberAsBodyGivesStatusAndHeadersOnly) {
    server.answer("/a", "42");
    manager->get(server.url("/a"));
    EXPECT_EQ(ended().response.keys(), (QStringList{"headers", "status_code"}));
}

TEST_F(CloudNetwork, AnEmptyArrayIsAnEmptyListOfData) {
    server.answer("/a", "[]");
    manager->get(server.url("/a"));
    const QVariantMap response = ended().response;
    EXPECT_EQ(response.keys(), (QStringList{"data", "headers", "status_code"}));
    EXPECT_TRUE(response["data"].toList().isEmpty());
}

TEST_F(CloudNetwork, ABodyThatIsNoJsonIsASuccess) {
    server.answer("/a", "<html>");
    manager->get(server.url("/a"));
    const Completion completion = ended();
    EXPECT_TRUE(completion.success);
    EXPECT_EQ(completion.response["raw_data"], QVariant("<html>"));
}

TEST_F(CloudNetwork, AnErrorStatusIsAnErrorAndThenACompletionWithoutSuccess) {
    std::size_t count = 0;
    for (const char* const status : {"400 Bad", "401 No", "404 None", "500 Broken", "503 Busy"}) {
        events.clear();
        server.answer("/a", R"({"code":0})", status);
        const int id = manager->get(server.url("/a"));
        const Completion completion = ended(++count);
        EXPECT_FALSE(completion.success);
        EXPECT_EQ(completion.response.keys(), (QStringList{"error", "error_code"}));
        const int code = completion.response["error_code"].toInt();
        EXPECT_EQ(events,
                  (QStringList{QString("error %1 %2").arg(id).arg(code), QString("completed %1 0").arg(id)}));
        EXPECT_EQ(errorTexts.last(), completion.response["error"].toString());
    }
}

TEST_F(CloudNetwork, BrokenAnswersEndOnceWithoutSuccess) {
    const std::vector<Script> scripts{
        sending(""),
        sending("garbage\r\n\r\n"),
        sending("HTTP/1.1 200 OK\r\nContent-Le"),
        sending("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf"),
        sending("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nFFFF\r\nhalf"),
        sending("HTTP/1.1 302 Found\r\nLocation: http://127.0.0.1:1/x\r\nContent-Length: 0\r\n\r\n"),
        sending("HTTP/1.1 302 Found\r\nLocation: file:///etc/hostname\r\nContent-Length: 0\r\n\r\n"),
    };
    std::size_t count = 0;
    for (const Script& script : scripts) {
        server.script("/a", script);
        manager->get(server.url("/a"));
        EXPECT_FALSE(ended(++count).success) << script.bytes.toStdString();
        EXPECT_EQ(events.takeLast(), QString("completed %1 0").arg(count));
        EXPECT_FALSE(events.isEmpty());
    }
}

TEST_F(CloudNetwork, ChunkedAnswersAndRedirectsOfTheSameHostArrive) {
    server.script(
        "/chunks",
        sending("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n4\r\n{\"a\"\r\n3\r\n:1}\r\n0\r\n\r\n"));
    server.script("/moved", sending("HTTP/1.1 302 Found\r\nLocation: /chunks\r\nContent-Length: 0\r\n\r\n"));
    manager->get(server.url("/moved"));
    EXPECT_EQ(ended().response["a"].toInt(), 1);
}

TEST_F(CloudNetwork, ASilentServerEndsAtTheTimeoutOfTheCall) {
    server.script("/a", silence());
    manager->setTimeout(100);
    manager->get(server.url("/a"));
    EXPECT_EQ(ended().response["error_code"].toInt(), QNetworkReply::OperationCanceledError);
    EXPECT_EQ(log.count("Default timeout set to: 100 ms"), 1);
}

TEST_F(CloudNetwork, ADripOfBytesEndsAtTheLongestCall) {
    make({.hasInterface = [] { return true; }, .probeAddress = QUrl(), .longestCallMs = 300});
    server.script("/a", filling("HTTP/1.1 200 OK\r\n\r\n", "a", 1000000, 20));
    manager->get(server.url("/a"));
    EXPECT_FALSE(ended().success);
}

TEST_F(CloudNetwork, AnAnswerWithoutEndIsGivenUp) {
    server.script("/a", filling("HTTP/1.1 200 OK\r\n\r\n", QByteArray(kMegabyte, 'a'), 100000));
    manager->get(server.url("/a"));
    EXPECT_FALSE(ended().success);
}

TEST_F(CloudNetwork, AHeaderWithoutEndIsGivenUpBeforeItFillsTheMemory) {
    constexpr qint64 kFills = 10240; // 10 GB
    server.script("/a", filling("HTTP/1.1 200 OK\r\nX-Long: ", QByteArray(1 << 20, 'x'), kFills));
    manager->setTimeout(2000);
    const qint64 before = peakResidentKib();
    manager->get(server.url("/a"));
    EXPECT_FALSE(ended().success);
    manager->downloadFile(server.url("/a"), inFolder("a"));
    EXPECT_FALSE(ended(2).success);
    EXPECT_FALSE(QFileInfo::exists(inFolder("a")));
    EXPECT_LT(peakResidentKib() - before, 300 * 1024);
}

TEST_F(CloudNetwork, AThousandRequestsEndOnceEach) {
    server.answer("/a", "{}");
    for (int count = 0; count < 1000; ++count) {
        manager->get(server.url("/a"));
    }
    ended(1000);
    QSet<int> ids;
    for (const Completion& completion : completions) {
        EXPECT_TRUE(completion.success);
        ids.insert(completion.id);
    }
    EXPECT_EQ(ids.size(), 1000);
    EXPECT_EQ(completions.size(), 1000U);
}

TEST_F(CloudNetwork, OddAddressesFailOrArriveButNeverHang) {
    server.answer("/a", "{}");
    std::size_t count = 0;
    for (const QString& url : {QString(), QString("http://"), QString("no scheme"), QString("javascript:1"),
                               QString("http://[::1"), server.url("/\u6587 \u4ef6?a=\"b\"#c"),
                               server.url("/" + QString(60000, 'a'))}) {
        manager->get(url);
        EXPECT_FALSE(ended(++count).success) << url.first(qMin(url.size(), 40)).toStdString();
    }
}

// What the lock keeps out while a signal is emitted: another thread's question waits for the slot's end.
TEST_F(CloudNetwork, TheLockIsHeldInTheSignals) {
    server.answer("/a", "{}");
    std::vector<std::future<int>> questions;
    const auto ask = [&] {
        questions.push_back(std::async(std::launch::async, [this] { return manager->getNextRequestId(); }));
        EXPECT_EQ(questions.back().wait_for(50ms), std::future_status::timeout);
    };
    bool hasProgress = false;
    QObject::connect(manager.get(), &NetworkManager::downloadProgress, manager.get(), [&] {
        if (!hasProgress) {
            hasProgress = true;
            ask();
        }
    });
    QObject::connect(manager.get(), &NetworkManager::fileDownloaded, manager.get(), ask);
    QObject::connect(manager.get(), &NetworkManager::requestError, manager.get(), ask);
    QObject::connect(manager.get(), &NetworkManager::requestCompleted, manager.get(), ask);
    manager->downloadFile(server.url("/a"), inFolder("a"));
    ended(1);
    manager->requestWithMethod("PATCH", "x");
    for (std::future<int>& question : questions) {
        EXPECT_GE(question.get(), 1);
    }
    EXPECT_TRUE(hasProgress);
    EXPECT_EQ(questions.size(), 4U);
}

TEST_F(CloudNetwork, ABatchSkipsEntriesWithoutAnAddress) {
    server.answer("/a", "{}");
    manager->batchRequest(
        {QVariantMap{{"url", ""}}, 42, QVariantMap{{"url", server.url("/a")}},
         QVariantMap{{"url", server.url("/a")}, {"method", "post"}, {"data", QVariantMap{{"k", 1}}}}});
    EXPECT_EQ(manager->getNextRequestId(), 2);
    ended(2);
    QList<QByteArray> methods{server.requests()[0].method, server.requests()[1].method};
    std::ranges::sort(methods);
    EXPECT_EQ(methods, (QList<QByteArray>{"GET", "POST"}));
}

TEST_F(CloudNetwork, AnUploadOfAMissingFileFailsAndNeverCompletes) {
    const QString path = inFolder("none");
    EXPECT_EQ(manager->uploadFile(server.url("/a"), path), 1);
    EXPECT_EQ(errorTexts, QStringList{"File does not exist: " + path});
    manager->uploadFile(server.url("/a"), folder.path());
    EXPECT_EQ(errorTexts.last(), "Cannot open file: " + folder.path());
    EXPECT_EQ(events, (QStringList{"error 1 -1", "error 2 -1"}));
    EXPECT_TRUE(server.requests().isEmpty());
}

TEST_F(CloudNetwork, AnUploadSendsTheFileAsPartOfAForm) {
    server.answer("/a", R"({"code":0})");
    writeFile("a\"b.bin", QByteArray("\0x\xff", 3));
    qint64 sent = 0;
    QObject::connect(manager.get(), &NetworkManager::uploadProgress, manager.get(),
                     [&](int, qint64 bytes, qint64) { sent = qMax(sent, bytes); });
    manager->uploadFile(server.url("/a"), inFolder("a\"b.bin"));
    EXPECT_TRUE(ended().success);
    const ReceivedRequest request = server.lastRequest();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.headers["content-type"], "application/json");
    EXPECT_TRUE(request.body.contains(R"(form-data; name="file"; filename="a%22b.bin")"));
    EXPECT_TRUE(request.body.contains("application/octet-stream"));
    EXPECT_TRUE(request.body.contains(QByteArray("\r\n\r\n\0x\xff\r\n", 9)));
    EXPECT_GT(sent, 0);
}

TEST_F(CloudNetwork, ADownloadMakesItsFolderAndIsToldBeforeTheCompletion) {
    const QByteArray body("\0\1{}\xff", 5);
    server.answer("/a", body);
    const QString path = inFolder("new/folder/a.bin");
    EXPECT_EQ(manager->downloadFile(server.url("/a"), path), 1);
    EXPECT_TRUE(ended().success);
    EXPECT_EQ(events, (QStringList{"file 1", "completed 1 1"}));
    EXPECT_EQ(contents(path), body);
    EXPECT_EQ(QDir(inFolder("new/folder")).entryList(QDir::Files), QStringList{"a.bin"});
    EXPECT_EQ(log.count("File downloaded: " + path), 1);
}

TEST_F(CloudNetwork, ADownloadWithAnotherDigestFailsAndTheOldFileStays) {
    server.answer("/a", "new");
    const QByteArray right = QCryptographicHash::hash("new", QCryptographicHash::Sha256).toHex();
    const std::vector<QString> wrong{QString(64, '0'), "", "x", right.left(62), right + "00"};
    for (std::size_t number = 0; number < wrong.size(); ++number) {
        writeFile("a", "old");
        manager->expectDigest(manager->downloadFile(server.url("/a"), inFolder("a")), wrong[number]);
        const Completion end = ended(number + 1);
        EXPECT_FALSE(end.success);
        EXPECT_EQ(end.response["error"], "Wrong digest of file: " + inFolder("a"));
        EXPECT_EQ(contents(inFolder("a")), "old");
        EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files), QStringList{"a"});
    }
    EXPECT_EQ(events.first(2), (QStringList{"error 1 -1", "completed 1 0"}));
    manager->expectDigest(manager->downloadFile(server.url("/a"), inFolder("a")), right.toUpper());
    EXPECT_TRUE(ended(wrong.size() + 1).success);
    EXPECT_EQ(contents(inFolder("a")), "new");
    manager->expectDigest(1000, right);
}

TEST_F(CloudNetwork, ADownloadIsHeldToAnMd5WhereThatIsGiven) {
    server.answer("/a", "new");
    const QByteArray right = QCryptographicHash::hash("new", QCryptographicHash::Md5).toHex();
    manager->expectDigest(manager->downloadFile(server.url("/a"), inFolder("a")), right);
    EXPECT_TRUE(ended(1).success);
    EXPECT_EQ(contents(inFolder("a")), "new");
    manager->expectDigest(manager->downloadFile(server.url("/a"), inFolder("b")), QString(32, '0'));
    EXPECT_EQ(ended(2).response["error"], "Wrong digest of file: " + inFolder("b"));
    EXPECT_FALSE(QFile::exists(inFolder("b")));
}

TEST_F(CloudNetwork, ADownloadReplacesWhatWasThereAndFollowsNoLink) {
    server.answer("/a", "new");
    server.answer("/empty", "");
    writeFile("old", "old and longer");
    writeFile("victim", "victim");
    ASSERT_TRUE(QFile::link(inFolder("victim"), inFolder("link")));
    manager->downloadFile(server.url("/a"), inFolder("old"));
    manager->downloadFile(server.url("/a"), inFolder("link"));
    manager->downloadFile(server.url("/empty"), inFolder("empty"));
    ended(3);
    EXPECT_EQ(contents(inFolder("old")), "new");
    EXPECT_EQ(contents(inFolder("link")), "new");
    EXPECT_EQ(contents(inFolder("victim")), "victim");
    EXPECT_EQ(contents(inFolder("empty")), "");
}

TEST_F(CloudNetwork, ADownloadWithoutAFileToWriteToSucceedsWithoutTellingAFile) {
    server.answer("/a", "new");
    writeFile("file", "x");
    manager->downloadFile(server.url("/a"), inFolder("file/below"));
    EXPECT_TRUE(ended(1).success);
    manager->downloadFile(server.url("/a"), folder.path());
    EXPECT_TRUE(ended(2).success);
    EXPECT_EQ(events, (QStringList{"completed 1 1", "completed 2 1"}));
}

TEST_F(CloudNetwork, ALostLineIsToldTwiceAndLeavesNothing) {
    server.script("/cut", sending("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf"));
    writeFile("old", "old");
    manager->downloadFile(server.url("/cut"), inFolder("old"));
    const Completion completion = ended();
    EXPECT_FALSE(completion.success);
    EXPECT_EQ(events, (QStringList{"error 1 2", "error 1 2", "completed 1 0"}));
    EXPECT_EQ(errorTexts[1], "Network disconnection");
    EXPECT_EQ(log.count("Network disconnection detected from download error: 2"), 1);
    EXPECT_EQ(contents(inFolder("old")), "old");
    EXPECT_TRUE(await([&] { return QDir(folder.path()).entryList(QDir::Files) == QStringList{"old"}; }));

    events.clear();
    manager->downloadFile("http://127.0.0.1:1/a", inFolder("b"));
    ended(2);
    EXPECT_EQ(events, (QStringList{"error 2 1", "error 2 1", "completed 2 0"}));
}

TEST_F(CloudNetwork, ADownloadWithAnErrorStatusIsToldOnceAndLeavesNothing) {
    server.answer("/a", "not found", "404 None");
    manager->downloadFile(server.url("/a"), inFolder("a"));
    ended();
    EXPECT_EQ(events, (QStringList{"error 1 203", "completed 1 0"}));
    EXPECT_TRUE(await([&] { return QDir(folder.path()).isEmpty(); }));
}

TEST_F(CloudNetwork, ALongDownloadArrivesWholeAndIsNotParsed) {
    constexpr qint64 kMegabytes = 64;
    server.script("/a", filling("HTTP/1.1 200 OK\r\nContent-Length: " +
                                    QByteArray::number(kMegabytes * kMegabyte) + "\r\n\r\n",
                                QByteArray(kMegabyte, 'a'), kMegabytes));
    qint64 total = 0;
    QObject::connect(manager.get(), &NetworkManager::downloadProgress, manager.get(),
                     [&](int, qint64 received, qint64) { total = received; });
    manager->downloadFile(server.url("/a"), inFolder("a"));
    const Completion completion = ended();
    EXPECT_EQ(completion.response.keys(), (QStringList{"headers", "status_code"}));
    EXPECT_EQ(total, kMegabytes * kMegabyte);
    EXPECT_EQ(QFileInfo(inFolder("a")).size(), kMegabytes * kMegabyte);
}

TEST_F(CloudNetwork, WithoutAClientRequestsFailAndNothingLeaves) {
    writeFile("a", "a");
    delete manager->findChild<QNetworkAccessManager*>();
    manager->get(server.url("/a"));
    EXPECT_EQ(manager->downloadFile(server.url("/a"), inFolder("b")), 2);
    EXPECT_EQ(manager->uploadFile(server.url("/a"), inFolder("a")), 3);
    manager->checkNetworkStatus();
    manager->checkNetworkStatus();
    EXPECT_EQ(events, (QStringList{"error 1 -1", "offline", "offline"}));
    EXPECT_EQ(log.count("Online status changed (no network manager): false"), 2);
}

TEST_F(CloudNetwork, TheProgramIsOfflineUntilTheProbeHasAnswered) {
    server.answer("/probe", "");
    EXPECT_FALSE(manager->isOnline());
    manager->checkNetworkStatus();
    EXPECT_FALSE(manager->isOnline());
    EXPECT_TRUE(await([&] { return manager->isOnline(); }));
    EXPECT_EQ(server.lastRequest().method, "HEAD");
    EXPECT_EQ(log.count("Online status changed (HTTP check): true"), 1);
    server.answer("/probe", "", "404 None");
    manager->checkNetworkStatus();
    EXPECT_TRUE(await([&] { return !manager->isOnline(); }));
    EXPECT_EQ(events, (QStringList{"online", "offline"}));
}

TEST_F(CloudNetwork, WithoutAnInterfaceTheProgramGoesOfflineWithoutTraffic) {
    bool isPlugged = true;
    make({.hasInterface = [&] { return isPlugged; }, .probeAddress = QUrl(server.url("/probe"))});
    server.answer("/probe", "");
    manager->checkNetworkStatus();
    ASSERT_TRUE(await([&] { return manager->isOnline(); }));
    isPlugged = false;
    manager->checkNetworkStatus();
    manager->checkNetworkStatus();
    EXPECT_EQ(events, (QStringList{"online", "offline"}));
    EXPECT_EQ(server.requests().size(), 1);
    EXPECT_EQ(log.count("Online status changed (no interface): false"), 1);
}

TEST_F(CloudNetwork, ADeadLineGoesOfflineWithinThreeSeconds) {
    server.answer("/probe", "");
    manager->checkNetworkStatus();
    ASSERT_TRUE(await([&] { return manager->isOnline(); }));
    server.script("/probe", silence());
    manager->checkNetworkStatus();
    EXPECT_TRUE(await([&] { return !manager->isOnline(); }));
}

TEST_F(CloudNetwork, MonitoringChecksFirstAfterOneInterval) {
    server.answer("/probe", "");
    manager->startNetworkMonitoring(20);
    EXPECT_TRUE(server.requests().isEmpty());
    EXPECT_TRUE(await([&] { return server.requests().size() >= 2; }));
    manager->stopNetworkMonitoring();
    EXPECT_EQ(log.count("Network monitoring started with interval: 20 ms"), 1);
    EXPECT_EQ(log.count("Network monitoring stopped"), 1);
}

} // namespace
