#include "live/panel.h"

#include "io/bayer.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <cmath>

namespace ko::tool {
namespace {

constexpr auto controlsInterval = std::chrono::seconds(1);
constexpr double mostGain = 16;  // of a colour

QJsonValue jsonOf(const Control& control)
{
    if (!control.isAvailable)
        return {};
    return QJsonObject{{"value", control.value}, {"minimum", control.minimum}, {"maximum", control.maximum}};
}

QJsonObject jsonOf(const Look& look)
{
    return {{"gains", QJsonArray{look.gains[0], look.gains[1], look.gains[2]}}, {"linear", look.isLinear}};
}

/// Numbers of a double in JSON are exact up to 2^53, which no count of frames reaches.
double numberOf(std::uint64_t count)
{
    return static_cast<double>(count);
}

QJsonObject jsonOf(const Figures& figures)
{
    QJsonArray histograms;
    QJsonArray clipped;
    for (int i = 0; i < figures.colours; ++i) {
        const ColourFigures& colour = figures.of[static_cast<std::size_t>(i)];
        QJsonArray histogram;
        for (const std::uint64_t count : colour.histogram)
            histogram.append(numberOf(count));
        histograms.append(histogram);
        clipped.append(colour.samples > 0 ? numberOf(colour.clipped) / numberOf(colour.samples) : 0);
    }
    const SxImageInfo& format = figures.format;
    QJsonObject frame{{"width", format.width}, {"height", format.height}, {"bits", format.bitsPerSample}};
    if (format.bayerGrid != BayerNone)
        frame.insert("pattern", QString::fromStdString(gridName(format.bayerGrid)));
    return {{"frame", frame}, {"histogram", histograms}, {"clipped", clipped}, {"focus", figures.focus}};
}

std::string textOf(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString();
}

}  // namespace

void Panel::update(const Progress& progress)
{
    std::unique_lock lock(m_mutex);
    m_progress = progress;
    const bool isDue = std::chrono::steady_clock::now() - m_controlsRead >= controlsInterval;
    lock.unlock();
    if (isDue)
        readControls();
}

void Panel::readControls()
{
    const Control exposure = m_feed.exposure();
    const Control gain = m_feed.gain();
    const std::lock_guard lock(m_mutex);
    m_exposure = exposure;
    m_gain = gain;
    m_controlsRead = std::chrono::steady_clock::now();
}

/// The fields of the figures and the comma behind them; empty where there are none.
std::string Panel::figures()
{
    auto figures = m_broadcast.figures();
    if (!figures)
        return {};
    const std::lock_guard lock(m_mutex);
    if (figures != m_told) {
        m_toldAs = textOf(jsonOf(*figures)).substr(1);
        m_toldAs.back() = ',';
        m_told = std::move(figures);
    }
    return m_toldAs;
}

std::string Panel::status()
{
    QJsonObject status;
    const std::string trouble = m_feed.trouble();
    status.insert("camera", QString::fromStdString(m_feed.name()));
    status.insert("trouble", QString::fromStdString(trouble.empty() ? m_broadcast.trouble() : trouble));
    status.insert("delay", m_broadcast.delay().count());
    status.insert("look", jsonOf(m_broadcast.look()));
    std::unique_lock lock(m_mutex);
    status.insert("frames", numberOf(m_progress.frames));
    status.insert("rate", m_progress.rate);
    status.insert("dropped", numberOf(m_progress.losses.dropped));
    status.insert("incomplete", numberOf(m_progress.losses.incomplete));
    status.insert("lost", numberOf(m_progress.losses.lost));
    if (m_progress.written) {
        status.insert("written", numberOf(*m_progress.written));
        status.insert("bytesPerSecond", m_progress.bytesPerSecond);
    }
    status.insert("exposure", jsonOf(m_exposure));
    status.insert("gain", jsonOf(m_gain));
    lock.unlock();
    return '{' + figures() + textOf(status).substr(1);
}

std::string Panel::control(const QJsonObject& wish)
{
    for (auto field = wish.begin(); field != wish.end(); ++field) {
        std::string trouble;
        if (field.key() == "exposure" || field.key() == "gain")
            trouble = field->isDouble() ? setCamera(field.key(), field->toDouble())
                                        : field.key().toStdString() + ": no number";
        else if (field.key() != "gains" && field.key() != "linear" && field.key() != "balance")
            trouble = "nothing of this name can be set";
        if (!trouble.empty())
            return trouble;
    }
    return setLook(wish);
}

std::string Panel::setCamera(const QString& name, double value)
{
    const bool isExposure = name == "exposure";
    const Control now = isExposure ? m_feed.exposure() : m_feed.gain();
    const std::string which = name.toStdString();
    if (!now.isAvailable)
        return which + ": not known to this source";
    if (!(value >= now.minimum && value <= now.maximum))
        return which + ": out of range";
    if (!(isExposure ? m_feed.setExposure(value) : m_feed.setGain(value)))
        return which + ": refused by the camera";
    readControls();
    return {};
}

std::string Panel::setLook(const QJsonObject& wish)
{
    Look look = m_broadcast.look();
    if (wish.contains("gains")) {
        const QJsonArray gains = wish["gains"].toArray();
        if (gains.size() != 3)
            return "gains: not three numbers";
        for (int i = 0; i < 3; ++i) {
            const double gain = gains[i].toDouble(-1);
            if (!(gain >= 0 && gain <= mostGain))
                return "gains: not three numbers of 0...16";
            look.gains[static_cast<std::size_t>(i)] = gain;
        }
    }
    if (wish.contains("linear")) {
        if (!wish["linear"].isBool())
            return "linear: neither true nor false";
        look.isLinear = wish["linear"].toBool();
    }
    m_broadcast.setLook(look);
    if (wish.contains("balance"))
        m_broadcast.balance();
    return {};
}

}  // namespace ko::tool
