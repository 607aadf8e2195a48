// Shows a camera in a window: the picture, and below it how often each level occurs.
//
// usage: live_view [camera [picture]]
//
// The camera is an id, serial number or address; without one it is the first that is found. Given a picture file, the
// program stores its window there after 20 frames and ends.
#include <ko/camera.h>
#include <ko/koimproc.h>

#include <QApplication>
#include <QImage>
#include <QMetaObject>
#include <QPainter>
#include <QWidget>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

using Counts = std::array<int, 256>;

/// A frame as the window shows it.
struct View {
    QImage picture;
    std::array<Counts, 3> counts{};  ///< of red, green and blue
};

/// The upper 8 bits of a sample.
int levelOf(const ko::SxImageBuf& image, int x, int y, int channel)
{
    const std::ptrdiff_t sample = static_cast<std::ptrdiff_t>(x) * image.channels + channel;
    const std::uint8_t* const row = image.data + static_cast<std::ptrdiff_t>(y) * image.stride;
    if (image.dataType == ko::UInt8)
        return row[sample];
    std::uint16_t value = 0;
    std::memcpy(&value, row + sample * 2, sizeof value);
    return std::min(value >> (image.bitsPerSample - 8), 255);
}

View viewOf(const ko::SxImageBuf& image)
{
    View view;
    view.picture = QImage(image.width, image.height, QImage::Format_RGB888);
    for (int y = 0; y < image.height; ++y) {
        uchar* const row = view.picture.scanLine(y);
        for (int x = 0; x < image.width; ++x)
            for (int colour = 0; colour < 3; ++colour) {
                const int level = levelOf(image, x, y, image.channels > 1 ? colour : 0);
                row[x * 3 + colour] = static_cast<uchar>(level);
                ++view.counts[static_cast<std::size_t>(colour)][static_cast<std::size_t>(level)];
            }
    }
    return view;
}

/// One pixel for each 2 x 2 cell of a mosaic, which is quick and enough for a screen; other images as they are.
View viewOfFrame(const ko::SxImageBuf& image)
{
    if (image.bayerGrid == ko::BayerNone)
        return viewOf(image);
    const int width = image.width / 2;
    const int height = image.height / 2;
    ko::SxImageBuf colour;
    View view;
    if (ko::isFailure(ko::AllocBuffer(colour, width, height, 3, image.dataType, 0, image.bitsPerSample,
                                      ko::Interleaved, false, ko::CompressionNone)))
        return view;
    if (!ko::isFailure(
            ko::DemosaicSimple(image, QRect(0, 0, width * 2, height * 2), colour, image.bayerGrid)))
        view = viewOf(colour);
    ko::FreeBuffer(colour);
    return view;
}

class Window : public QWidget {
public:
    void present(View view)
    {
        m_view = std::move(view);
        ++m_frames;
        update();
    }
    int frames() const { return m_frames; }

protected:
    void paintEvent(QPaintEvent*) override
    {
        const int plotHeight = height() / 4;
        const QRect place(0, 0, width(), height() - plotHeight);
        QPainter painter(this);
        painter.fillRect(rect(), Qt::black);
        if (m_view.picture.isNull())
            return;
        QRect picture(QPoint(), m_view.picture.size().scaled(place.size(), Qt::KeepAspectRatio));
        picture.moveCenter(place.center());
        painter.drawImage(picture, m_view.picture);

        painter.setCompositionMode(QPainter::CompositionMode_Plus);
        painter.setPen(Qt::NoPen);
        constexpr Qt::GlobalColor colours[] = {Qt::red, Qt::green, Qt::blue};
        for (std::size_t colour = 0; colour < 3; ++colour) {
            const Counts& counts = m_view.counts[colour];
            // Clipped pixels lie in the first or last level and would leave nothing of the others.
            const int most = std::max(1, *std::max_element(counts.begin() + 1, counts.end() - 1));
            painter.setBrush(colours[colour]);
            for (std::size_t level = 0; level < counts.size(); ++level) {
                const double size = plotHeight * std::min(1.0, static_cast<double>(counts[level]) / most);
                const double step = width() / 256.0;
                painter.drawRect(QRectF(static_cast<double>(level) * step, height() - size, step, size));
            }
        }
    }

private:
    View m_view;
    int m_frames = 0;
};

}  // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    Window window;
    window.resize(640, 640);
    window.setWindowTitle("live view");
    window.show();

    // The window gets one frame at a time. Those that come while it paints are not shown.
    std::atomic<bool> isPainting{false};
    ko::CxFrameSink sink([&](ko::CxImageData& frame) {
        if (isPainting.exchange(true))
            return;
        QMetaObject::invokeMethod(&window, [&, view = viewOfFrame(frame.image())]() mutable {
            window.present(std::move(view));
            isPainting = false;
            if (argc > 2 && window.frames() == 20)
                QApplication::exit(window.grab().save(argv[2]) ? EXIT_SUCCESS : EXIT_FAILURE);
        });
    });
    ko::CxAravisSource camera;
    camera.addSuccessor(&sink);
    camera.loadSettings({{"camera", QString(argc > 1 ? argv[1] : "")}});
    if (!ko::StartPipe(camera)) {
        std::fprintf(stderr, "%s\n", qPrintable(camera.errorText()));
        return EXIT_FAILURE;
    }
    const int status = QApplication::exec();
    ko::StopPipe(camera);
    return status;
}
