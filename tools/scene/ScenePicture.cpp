#include "tools/scene/ScenePicture.h"

#include "mixer/AppAudioConfig.h"
#include "mixer/BusForwarder.h"
#include "mixer/WaveFormat.h"

#include <QColor>
#include <QFont>
#include <QLinearGradient>
#include <QPainter>
#include <QString>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

constexpr int kWidth = 1200;
constexpr int kLabelWidth = 190;
constexpr int kMargin = 16;
constexpr int kRightMargin = 32; // room for half of the last mark's text
constexpr int kAxisHeight = 24;
constexpr int kMeterHeight = 44;
constexpr int kWaveHeight = 76; // of one channel
constexpr int kGap = 10;

const QColor kBackground(0x1B, 0x1B, 0x1F);
const QColor kLane(0x26, 0x26, 0x2B);
const QColor kText(0xE0, 0xE0, 0xE0);
const QColor kFaint(0x80, 0x80, 0x88);
const QColor kChange(0x50, 0x8C, 0xFF);
const QColor kWave(0x4F, 0xC3, 0xF7);
const QColor kClip(0xFF, 0x32, 0x00);
// The meter's colours, from the bottom up.
const QColor kMeterLow(0x00, 0xE2, 0x7E);
const QColor kMeterMiddle(0x79, 0xC3, 0x3A);
const QColor kMeterHigh(0xFF, 0xC0, 0x00);

QString nameOfBus(std::uint32_t busId) {
    return busId == BusForwarder::kSoloId ? QStringLiteral("Solo") : QStringLiteral("Bus %1").arg(busId);
}

class ScenePainter {
public:
    ScenePainter(const Scene& wholeScene, const RenderedScene& renderedScene)
        : scene(wholeScene), rendered(renderedScene), ids(levelIds()) {}

    QImage draw() {
        QImage image(kWidth, height(), QImage::Format_RGB32);
        image.fill(kBackground);
        QPainter target(&image);
        QFont font;
        font.setPixelSize(13);
        target.setFont(font);
        painter = &target;
        int top = kMargin;
        drawAxis(top);
        top += kAxisHeight;
        for (const std::uint32_t processID : ids) {
            drawMeter(processID, top);
            top += kMeterHeight + kGap;
        }
        for (const RenderedOutput& output : rendered.outputs) {
            drawOutput(output, top);
            top += 2 * kWaveHeight + kGap;
        }
        drawChanges(top);
        return image;
    }

private:
    // Sources in the order of the scene, then the buses.
    [[nodiscard]] std::vector<std::uint32_t> levelIds() const {
        std::vector<std::uint32_t> all;
        for (const SceneSource& source : scene.sources) {
            if (std::ranges::find(all, source.processID) == all.end()) {
                all.push_back(source.processID);
            }
        }
        all.push_back(kBus1MasterProcessId);
        all.push_back(kBus2MasterProcessId);
        return all;
    }

    [[nodiscard]] int height() const {
        return 2 * kMargin + kAxisHeight + static_cast<int>(ids.size()) * (kMeterHeight + kGap) +
               static_cast<int>(rendered.outputs.size()) * (2 * kWaveHeight + kGap);
    }

    [[nodiscard]] static int plotLeft() { return kMargin + kLabelWidth; }
    [[nodiscard]] static int plotWidth() { return kWidth - kRightMargin - plotLeft(); }
    [[nodiscard]] double xOf(std::uint64_t frame) const {
        return plotLeft() +
               plotWidth() * static_cast<double>(frame) / static_cast<double>(scene.lengthFrames);
    }

    void label(int top, int laneHeight, const QString& title, const QString& detail) {
        painter->setPen(kText);
        painter->drawText(QRect(kMargin, top, kLabelWidth - 8, laneHeight / 2),
                          Qt::AlignLeft | Qt::AlignBottom, fitting(title));
        painter->setPen(kFaint);
        painter->drawText(QRect(kMargin, top + laneHeight / 2, kLabelWidth - 8, laneHeight / 2),
                          Qt::AlignLeft | Qt::AlignTop, fitting(detail));
    }

    [[nodiscard]] QString fitting(const QString& text) const {
        return painter->fontMetrics().elidedText(text, Qt::ElideRight, kLabelWidth - 8);
    }

    void drawAxis(int top) {
        painter->setPen(kFaint);
        const double seconds = static_cast<double>(scene.lengthFrames) / kMixSampleRate;
        // At most ten marks, at 1, 2 or 5 of a power of ten.
        double step = std::pow(10.0, std::floor(std::log10(seconds)));
        for (const double part : {0.1, 0.2, 0.5, 1.0}) {
            if (seconds / (step * part) <= 10.0) {
                step *= part;
                break;
            }
        }
        for (double mark = 0.0; mark <= seconds * (1.0 + 1e-9); mark += step) {
            const double x = plotLeft() + plotWidth() * mark / seconds;
            painter->drawLine(QPointF(x, top + kAxisHeight - 6), QPointF(x, top + kAxisHeight - 2));
            painter->drawText(QRectF(x - 40, top, 80, kAxisHeight - 8), Qt::AlignCenter,
                              QStringLiteral("%1 s").arg(mark));
        }
    }

    void drawMeter(std::uint32_t processID, int top) {
        QString title = QStringLiteral("Bus %1").arg(processID == kBus1MasterProcessId ? 1 : 2);
        QString detail = QStringLiteral("meter, left and right");
        painter->fillRect(plotLeft(), top, plotWidth(), kMeterHeight, kLane);
        for (const SceneSource& source : scene.sources) {
            if (source.processID != processID) {
                continue;
            }
            title = source.name;
            detail = QStringLiteral("source %1").arg(processID);
            const double left = xOf(source.startFrame);
            painter->fillRect(QRectF(left, top + kMeterHeight - 3, xOf(source.endFrame) - left, 3), kWave);
        }
        label(top, kMeterHeight, title, detail);
        // The upper half stands for left, the lower one for right; a report holds until the next.
        constexpr int kHalf = (kMeterHeight - 4) / 2;
        for (std::size_t index = 0; index < rendered.levels.size(); ++index) {
            const RenderedLevels& report = rendered.levels[index];
            const auto level = std::ranges::find(report.levels, processID, &AudioLevelInfo::processID);
            if (level == report.levels.end()) {
                continue;
            }
            const std::uint64_t next =
                index + 1 < rendered.levels.size() ? rendered.levels[index + 1].atFrame : scene.lengthFrames;
            const double left = std::floor(xOf(report.atFrame));
            const double width = std::floor(xOf(next)) - left;
            drawBar(QRectF(left, top, width, kHalf), level->levelLeft);
            drawBar(QRectF(left, top + kHalf, width, kHalf), level->levelRight);
        }
    }

    void drawBar(const QRectF& room, float level) {
        const double part = std::clamp(static_cast<double>(level), 0.0, 1.0);
        QLinearGradient colours(room.bottomLeft(), room.topLeft());
        colours.setColorAt(0.0, kMeterLow);
        colours.setColorAt(0.7, kMeterMiddle);
        colours.setColorAt(1.0, kMeterHigh);
        QRectF bar = room;
        bar.setTop(room.bottom() - part * (room.height() - 1.0));
        painter->fillRect(bar, colours);
        if (level >= 1.0f) {
            painter->fillRect(QRectF(room.left(), room.top(), room.width(), 2.0), kClip);
        }
    }

    void drawOutput(const RenderedOutput& output, int top) {
        label(top, 2 * kWaveHeight,
              QStringLiteral("%1, %2 Hz").arg(nameOfBus(output.busId)).arg(output.sampleRate),
              QString::fromStdString(output.endpointName));
        for (std::size_t channel = 0; channel < 2; ++channel) {
            const int laneTop = top + static_cast<int>(channel) * kWaveHeight;
            painter->fillRect(plotLeft(), laneTop, plotWidth(), kWaveHeight - 2, kLane);
            drawWave(output, channel, QRectF(plotLeft(), laneTop + 2, plotWidth(), kWaveHeight - 6));
        }
    }

    // The least and greatest sample of each column.
    void drawWave(const RenderedOutput& output, std::size_t channel, const QRectF& room) {
        const std::size_t frames = output.stereo.size() / 2;
        const double middle = room.center().y();
        const double half = room.height() / 2.0;
        painter->setPen(kWave);
        const auto columns = static_cast<std::size_t>(room.width());
        for (std::size_t column = 0; column < columns; ++column) {
            const std::size_t from = frames * column / columns;
            const std::size_t to = std::min(frames, std::max(from + 1, frames * (column + 1) / columns));
            float least = 1.0f;
            float greatest = -1.0f;
            for (std::size_t frame = from; frame < to; ++frame) {
                least = std::min(least, output.stereo[2 * frame + channel]);
                greatest = std::max(greatest, output.stereo[2 * frame + channel]);
            }
            const double x = room.left() + static_cast<double>(column) + 0.5;
            painter->drawLine(QPointF(x, middle - half * greatest - 0.5),
                              QPointF(x, middle - half * least + 0.5));
        }
    }

    void drawChanges(int bottom) {
        painter->setPen(QPen(kChange, 1.0, Qt::DashLine));
        for (const SceneRecords& records : scene.records) {
            if (records.atFrame > 0 && records.atFrame < scene.lengthFrames) {
                const double x = xOf(records.atFrame);
                painter->drawLine(QPointF(x, kMargin + kAxisHeight), QPointF(x, bottom - kGap));
            }
        }
    }

    const Scene& scene;
    const RenderedScene& rendered;
    const std::vector<std::uint32_t> ids;
    QPainter* painter = nullptr;
};

} // namespace

QImage drawScene(const Scene& scene, const RenderedScene& rendered) {
    return ScenePainter(scene, rendered).draw();
}
