#include "device/MicrophoneUpgrade.h"
#include "tests/support/LogCapture.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtEndian>

#include <array>
#include <cstdint>
#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <vector>

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#endif

void PrintTo(const UpgradeReport& report, std::ostream* stream) {
    *stream << '(' << report.progress << ", " << report.message.toStdString() << ')';
}

namespace {

using Reports = QList<UpgradeReport>;

const Reports kRefused{{100, "升级失败"}};

std::string hexOfBytes(QByteArrayView bytes) {
    return bytes.toByteArray().toHex(' ').toUpper().toStdString();
}

QByteArray imageOf(qsizetype count) {
    QByteArray bytes(count, '\0');
    for (qsizetype i = 0; i < count; ++i) {
        bytes[i] = static_cast<char>(i % 251);
    }
    return bytes;
}

/// What the device gets for a message whose data length is that of its data.
UpgradeAnswer answerTo(std::uint8_t command, const QByteArray& data, const QByteArray& image = {}) {
    return answerUpgradeMessage({command, static_cast<std::uint16_t>(data.size()), data}, image);
}

QByteArray requestData(std::uint32_t address, std::uint16_t length, std::uint8_t progress) {
    QByteArray data(7, '\0');
    qToLittleEndian(address, data.data());
    qToLittleEndian(length, data.data() + 4);
    data[6] = static_cast<char>(progress);
    return data;
}

UpgradeAnswer answerToRequest(const QByteArray& image, std::uint32_t address, std::uint16_t length,
                              std::uint8_t progress = 0) {
    return answerTo(0x81, requestData(address, length, progress), image);
}

/// The bytes of an answer's block.
QByteArray blockOf(const UpgradeAnswer& answer) {
    return answer.frame.sliced(13);
}

void expectNothing(const UpgradeAnswer& answer) {
    EXPECT_TRUE(answer.frame.isEmpty());
    EXPECT_EQ(answer.reports, Reports());
    EXPECT_FALSE(answer.isEnd);
}

TEST(MicrophoneUpgrade, TheQuestionIsOneZeroByte) {
    EXPECT_EQ(hexOfBytes(upgradeQuestion()), "AA 55 C8 6E 80 01 00 00");
}

TEST(MicrophoneUpgrade, EachStatusHasItsText) {
    const QStringList texts{"可以升级", "不可以升级电量低", "不可以升级设备忙", "对码中不可以升级"};
    for (int status = 0; status < 4; ++status) {
        const UpgradeAnswer answer = answerTo(0x80, QByteArray(1, static_cast<char>(status)));
        EXPECT_EQ(answer.reports, Reports({{0, texts[status]}}));
        EXPECT_TRUE(answer.frame.isEmpty());
        EXPECT_EQ(answer.isEnd, status != 0) << status;
    }
}

TEST(MicrophoneUpgrade, AStatusAbove3IsSilent) {
    for (int status = 4; status < 256; ++status) {
        expectNothing(answerTo(0x80, QByteArray(1, static_cast<char>(status))));
    }
}

TEST(MicrophoneUpgrade, AStatusOrResultWithADataLengthOtherThan1IsIgnored) {
    for (const std::uint8_t command : {kUpgradeAsk, kUpgradeVerdict}) {
        for (const std::uint16_t length : std::to_array<std::uint16_t>({0, 2, 65535})) {
            expectNothing(answerUpgradeMessage(
                {command, length, QByteArrayView("\0\0", 2).first(length > 1 ? 2 : 0)}, {}));
        }
        expectNothing(answerUpgradeMessage({command, 1, QByteArrayView()}, {}));
    }
}

TEST(MicrophoneUpgrade, OtherCommandsAreIgnored) {
    for (const std::uint8_t command : std::to_array<std::uint8_t>({0x00, 0x7F, 0x83, 0xFF})) {
        expectNothing(answerTo(command, QByteArray(8, '\0'), imageOf(100)));
    }
}

TEST(MicrophoneUpgrade, Result0IsASuccessAndResult1GivesBothTextsInOrder) {
    EXPECT_EQ(answerTo(0x82, QByteArray(1, '\0')).reports, Reports({{100, "升级成功"}}));
    EXPECT_EQ(answerTo(0x82, "\x01").reports,
              Reports({{100, "升级失败,版本低"}, {100, "升级失败,校验失败"}}));
    EXPECT_TRUE(answerTo(0x82, "\x01").isEnd);
}

TEST(MicrophoneUpgrade, Results2To255GiveNoneAndAreLoggedSigned) {
    const LogCapture log;
    for (int result = 2; result < 256; ++result) {
        expectNothing(answerTo(0x82, QByteArray(1, static_cast<char>(result))));
    }
    EXPECT_EQ(log.count("升级进度 0x82 结果: 127"), 1);
    EXPECT_EQ(log.count("升级进度 0x82 结果: -128"), 1);
    EXPECT_EQ(log.texts(QtDebugMsg).last(), "升级进度 0x82 结果: -1");
}

TEST(MicrophoneUpgrade, ABlockAt0StartsAtFileOffset32) {
    QByteArray image(96, '\0');
    for (int i = 0; i < 96; ++i) {
        image[i] = static_cast<char>(i);
    }
    const LogCapture log;
    const UpgradeAnswer answer = answerToRequest(image, 0, 32, 7);
    EXPECT_EQ(hexOfBytes(answer.frame.first(13)), "AA 55 DF 38 81 26 00 00 00 00 00 20 00");
    EXPECT_EQ(blockOf(answer), image.sliced(32, 32));
    EXPECT_EQ(answer.reports, Reports({{7, "升级进度:7"}}));
    EXPECT_FALSE(answer.isEnd);
    EXPECT_EQ(log.texts(QtDebugMsg), QStringList("data_address 0x81 :  0  升级进度 len :  7"));
    EXPECT_EQ(hexOfBytes(answerToRequest(image, 32, 32, 50).frame.first(13)),
              "AA 55 22 80 81 26 00 20 00 00 00 20 00");
}

TEST(MicrophoneUpgrade, TheProgressIsTheDevicesOwnNumber) {
    EXPECT_EQ(answerToRequest(imageOf(96), 0, 1, 100).reports, Reports({{100, "升级进度:100"}}));
    EXPECT_EQ(answerToRequest(imageOf(96), 0, 1, 255).reports, Reports({{255, "升级进度:255"}}));
}

TEST(MicrophoneUpgrade, TheLast32BytesComeShortAndTheLengthStaysAsAsked) {
    QByteArray image(64, '\0');
    for (int i = 0; i < 64; ++i) {
        image[i] = static_cast<char>(i);
    }
    EXPECT_EQ(hexOfBytes(answerToRequest(image, 24, 16).frame),
              "AA 55 E3 29 81 0E 00 18 00 00 00 10 00 38 39 3A 3B 3C 3D 3E 3F");
}

TEST(MicrophoneUpgrade, ABlockFromSizeMinus32ComesEmpty) {
    EXPECT_EQ(hexOfBytes(answerToRequest(imageOf(64), 48, 16).frame),
              "AA 55 D7 E0 81 06 00 30 00 00 00 10 00");
    EXPECT_EQ(hexOfBytes(answerToRequest(imageOf(96), 64, 32, 99).frame),
              "AA 55 DE A0 81 06 00 40 00 00 00 20 00");
}

TEST(MicrophoneUpgrade, AFileOfFewerThan32BytesGivesAnEmptyFirstBlock) {
    for (const int size : {1, 16, 31, 32}) {
        const UpgradeAnswer answer = answerToRequest(imageOf(size), 0, 1);
        EXPECT_TRUE(blockOf(answer).isEmpty()) << size;
        EXPECT_EQ(answer.reports, Reports({{0, "升级进度:0"}})) << size;
    }
    EXPECT_EQ(hexOfBytes(answerToRequest(imageOf(31), 0, 16).frame),
              "AA 55 5B CF 81 06 00 00 00 00 00 10 00");
}

TEST(MicrophoneUpgrade, WithoutAnImageEveryRequestIsRefused) {
    for (const std::uint32_t address : {0U, 1U, 0xFFFFFFFFU}) {
        const UpgradeAnswer answer = answerToRequest({}, address, 0);
        EXPECT_TRUE(answer.frame.isEmpty());
        EXPECT_EQ(answer.reports, kRefused);
    }
}

TEST(MicrophoneUpgrade, ARequestOutsideTheImageIsRefusedAndLogged) {
    const QByteArray image = imageOf(96);
    const std::vector<std::pair<std::uint32_t, std::uint16_t>> requests{
        {96, 0},          // the address equals the file's size
        {65, 32},         // one byte too long
        {0xFFFFFFFF, 2},  // the end would wrap to 1
        {0xFFFFFF00, 255} // and to 0xFFFFFFFF
    };
    for (const auto& [address, length] : requests) {
        const LogCapture log;
        const UpgradeAnswer answer = answerToRequest(image, address, length);
        EXPECT_TRUE(answer.frame.isEmpty()) << address;
        EXPECT_EQ(answer.reports, kRefused) << address;
        EXPECT_TRUE(answer.isEnd);
        EXPECT_EQ(
            log.texts(QtWarningMsg),
            QStringList(
                QString("固件升级 拒绝数据请求 地址: %1 长度: %2 文件大小: 96").arg(address).arg(length)));
    }
}

TEST(MicrophoneUpgrade, SixDataBytesAreRefusedWithTheLineAndNothingElse) {
    const LogCapture log;
    for (int size = 0; size < 7; ++size) {
        expectNothing(answerTo(0x81, QByteArray(size, '\0'), imageOf(96)));
    }
    EXPECT_EQ(log.lines().size(), 7);
    EXPECT_EQ(log.count("数据长度不足，无法解析"), 7);
}

TEST(MicrophoneUpgrade, ABlockThatNoMessageOfTheLinkCanCarryIsRefusedAndLogged) {
    const QByteArray image = imageOf(70000);
    const UpgradeAnswer longest = answerToRequest(image, 0, 65522);
    EXPECT_EQ(longest.frame.size(), 65535);
    EXPECT_EQ(blockOf(longest), image.sliced(32, 65522));
    for (const std::uint16_t length : std::to_array<std::uint16_t>({65523, 65530, 65535})) {
        const LogCapture log;
        EXPECT_EQ(answerToRequest(image, 0, length).reports, kRefused);
        EXPECT_EQ(log.texts(QtWarningMsg).size(), 1);
    }
}

/// The rule, written again in the plainest way.
std::optional<QByteArray> modelBlock(const QByteArray& image, std::uint64_t address, std::uint64_t length) {
    const auto size = static_cast<std::uint64_t>(image.size());
    if (size == 0 || address >= size || address + length > size || length > 65522) {
        return std::nullopt;
    }
    QByteArray block;
    for (std::uint64_t at = address + 32; at < address + 32 + length && at < size; ++at) {
        block.append(image[static_cast<qsizetype>(at)]);
    }
    return block;
}

TEST(MicrophoneUpgrade, EveryBoundaryIsAsTheRuleSays) {
    const LogCapture quiet;
    for (const qsizetype size : std::to_array<qsizetype>({0, 1, 31, 32, 33, 64, 600, 66000})) {
        const QByteArray image = imageOf(size);
        std::vector<std::uint32_t> addresses{0, 1, 31, 32, 0x80000000, 0xFFFFFFFF};
        for (qsizetype at = size - 33; at <= size + 1; ++at) {
            if (at >= 0) {
                addresses.push_back(static_cast<std::uint32_t>(at));
            }
        }
        for (const std::uint32_t address : addresses) {
            for (const std::uint16_t length :
                 std::to_array<std::uint16_t>({0, 1, 2, 31, 32, 33, 487, 488, 65522, 65523, 65535})) {
                const std::optional<QByteArray> expected = modelBlock(image, address, length);
                const UpgradeAnswer answer = answerToRequest(image, address, length, 3);
                ASSERT_EQ(expected.has_value(), !answer.frame.isEmpty())
                    << size << ' ' << address << ' ' << length;
                if (expected) {
                    ASSERT_EQ(blockOf(answer), *expected) << size << ' ' << address << ' ' << length;
                    ASSERT_EQ(answer.frame.sliced(7, 6), requestData(address, length, 0).first(6));
                }
            }
        }
    }
}

class FirmwareImageFile : public testing::Test {
protected:
    QString write(const QByteArray& bytes) {
        QFile file(folder.filePath("固件 a,b.bin"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        EXPECT_EQ(file.write(bytes), bytes.size());
        return file.fileName();
    }
    QTemporaryDir folder;
};

TEST_F(FirmwareImageFile, IsReadWholeHeaderIncluded) {
    for (const qsizetype size : std::to_array<qsizetype>({0, 1, 31, 32, 56, 57, 1 << 20, (1 << 20) + 1})) {
        EXPECT_EQ(readFirmwareImage(write(imageOf(size))), imageOf(size)) << size;
    }
}

TEST_F(FirmwareImageFile, ThatIsNoRegularFileIsNotRead) {
    EXPECT_FALSE(readFirmwareImage(QString()));
    EXPECT_FALSE(readFirmwareImage(folder.filePath("nothing")));
    EXPECT_FALSE(readFirmwareImage(folder.path()));
#ifdef Q_OS_UNIX
    EXPECT_FALSE(readFirmwareImage("/dev/zero"));
    const QByteArray pipe = QFile::encodeName(folder.filePath("pipe"));
    ASSERT_EQ(mkfifo(pipe.constData(), 0600), 0);
    EXPECT_FALSE(readFirmwareImage(QFile::decodeName(pipe)));
#endif
}

TEST_F(FirmwareImageFile, OfMoreThan64MiBIsNotRead) {
    const QString path = write({});
    QFile file(path);
    ASSERT_TRUE(file.resize((qint64{64} << 20) + 1));
    EXPECT_FALSE(readFirmwareImage(path));
}

} // namespace
