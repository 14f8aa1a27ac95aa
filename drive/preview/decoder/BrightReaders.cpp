#include "BrightReaders.h"

#include <QFile>
#include <QIODevice>

#include <ImfChannelList.h>
#include <ImfRgbaFile.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <set>
#include <string>
#include <vector>

namespace {

constexpr qint64 MostStored = 512 * 1000 * 1000; // pixels; a file that claims more is not read

/// Averages blocks of @p factor by factor pixels, one line of blocks at a time.
class Shrinker
{
public:
    Shrinker(const QSize &stored, qint64 mostPixels, BrightImage *image)
        : m_image(image)
    {
        const qint64 pixels = qint64(stored.width()) * stored.height();
        m_factor = qMax(1, int(std::ceil(std::sqrt(double(pixels) / double(qMax<qint64>(1, mostPixels))))));
        image->stored = stored;
        image->size = QSize(qMax(1, stored.width() / m_factor), qMax(1, stored.height() / m_factor));
        image->pixels.resize(image->size.width() * image->size.height() * 4);
        m_sums.resize(std::size_t(image->size.width()) * 4);
    }

    int factor() const { return m_factor; }
    /// The next line, as red, green, blue and alpha; values that are no numbers count as dark.
    template <typename Value>
    void add(const Value *line)
    {
        const int row = m_lines / m_factor;
        if (row >= m_image->size.height())
            return;
        const int used = m_image->size.width() * qMin(m_factor, m_image->stored.width());
        for (int x = 0; x < used; ++x) {
            for (int channel = 0; channel < 4; ++channel) {
                const float value = float(line[x * 4 + channel]);
                m_sums[std::size_t(x / m_factor) * 4 + std::size_t(channel)] +=
                    std::isnan(value) ? 0 : qBound(-65504.0f, value, 65504.0f);
            }
        }
        if (++m_lines % m_factor != 0 && m_lines != m_image->stored.height())
            return;
        const int inBlock = m_factor * ((m_lines - 1) % m_factor + 1);
        qfloat16 *out = m_image->pixels.data() + qsizetype(row) * m_image->size.width() * 4;
        for (float &sum : m_sums) {
            *out++ = qfloat16(sum / float(inBlock));
            sum = 0;
        }
    }

private:
    BrightImage *m_image;
    int m_factor = 1;
    int m_lines = 0;
    std::vector<float> m_sums;
};

/// The layer to show of a file that has no colours of its own; empty when it has.
std::string firstLayer(const Imf::Header &header)
{
    const Imf::ChannelList &channels = header.channels();
    if (channels.findChannel("R") || channels.findChannel("G") || channels.findChannel("B") ||
        channels.findChannel("Y"))
        return {};
    std::set<std::string> layers;
    channels.layers(layers);
    for (const std::string &layer : layers) {
        if (channels.findChannel(layer + ".R") || channels.findChannel(layer + ".Y"))
            return layer;
    }
    return {};
}

/// One line of the form with a run of bytes for each channel.
bool readRuns(QIODevice *device, int width, std::vector<uchar> *line)
{
    for (int channel = 0; channel < 4; ++channel) {
        for (int x = 0; x < width;) {
            char head = 0;
            if (!device->getChar(&head))
                return false;
            const int count = uchar(head) > 128 ? uchar(head) - 128 : uchar(head);
            if (count == 0 || x + count > width)
                return false;
            uchar bytes[128];
            const qint64 needed = uchar(head) > 128 ? 1 : count;
            if (device->read(reinterpret_cast<char *>(bytes), needed) != needed)
                return false;
            for (int i = 0; i < count; ++i)
                (*line)[std::size_t(x++) * 4 + std::size_t(channel)] = bytes[needed == 1 ? 0 : i];
        }
    }
    return true;
}

/// One line of whole pixels, in which a pixel of ones repeats the last.
bool readPixels(QIODevice *device, int width, std::vector<uchar> *line, int have)
{
    int shift = 0;
    for (int x = have; x < width;) {
        uchar *at = line->data() + std::size_t(x) * 4;
        if (device->read(reinterpret_cast<char *>(at), 4) != 4)
            return false;
        if (at[0] != 1 || at[1] != 1 || at[2] != 1) {
            ++x;
            shift = 0;
            continue;
        }
        const int count = int(at[3]) << shift;
        if (x == 0 || shift > 16 || count > width - x)
            return false;
        for (int i = 0; i < count; ++i, ++x)
            std::memcpy(line->data() + std::size_t(x) * 4, line->data() + std::size_t(x - 1) * 4, 4);
        shift += 8;
    }
    return true;
}

} // namespace

bool readExr(const QString &file, qint64 mostPixels, BrightImage *image)
{
    const QByteArray name = QFile::encodeName(file);
    Imf::RgbaInputFile first(name.constData(), 0);
    const std::string layer = firstLayer(first.header());
    Imf::RgbaInputFile in(name.constData(), layer, 0);
    const auto window = in.dataWindow();
    const qint64 width = qint64(window.max.x) - window.min.x + 1, height = qint64(window.max.y) - window.min.y + 1;
    if (width <= 0 || height <= 0 || width > 100000 || height > 100000 || width * height > MostStored)
        return false;
    Shrinker shrinker(QSize(int(width), int(height)), mostPixels, image);
    // Some lines at a time, whatever the file's own blocks are.
    const int atOnce = int(qBound<qint64>(16, 16 * 1024 * 1024 / (width * 8), 256));
    std::vector<Imf::Rgba> lines(std::size_t(width) * std::size_t(atOnce));
    for (int y = window.min.y; y <= window.max.y; y += atOnce) {
        const int last = int(qMin<qint64>(qint64(y) + atOnce - 1, window.max.y));
        in.setFrameBuffer(lines.data() - window.min.x - qint64(y) * width, 1, std::size_t(width));
        in.readPixels(y, last);
        for (int line = 0; line <= last - y; ++line)
            shrinker.add(&(lines.data() + std::ptrdiff_t(line) * width)->r);
    }
    return true;
}

bool readRadiance(QIODevice *device, qint64 mostPixels, BrightImage *image)
{
    float scale = 1;
    QByteArray text;
    for (int lines = 0; lines < 200; ++lines) {
        text = device->readLine(4096).trimmed();
        if (text.isEmpty())
            break;
        if (text.startsWith("EXPOSURE="))
            scale /= qBound(1e-6f, text.mid(9).toFloat(), 1e6f);
    }
    const QList<QByteArray> words = device->readLine(256).simplified().split(' ');
    if (words.size() != 4 || words.at(0) != "-Y" || words.at(2) != "+X")
        return false;
    const int height = words.at(1).toInt(), width = words.at(3).toInt();
    if (width <= 0 || height <= 0 || width > 100000 || height > 100000 || qint64(width) * height > MostStored)
        return false;
    Shrinker shrinker(QSize(width, height), mostPixels, image);
    std::vector<uchar> line(std::size_t(width) * 4);
    std::vector<float> light(std::size_t(width) * 4);
    for (int y = 0; y < height; ++y) {
        if (device->read(reinterpret_cast<char *>(line.data()), 4) != 4)
            return y > 0; // what is there is shown
        const bool runs = line[0] == 2 && line[1] == 2 && (line[2] << 8 | line[3]) == width;
        if (!(runs ? readRuns(device, width, &line) : readPixels(device, width, &line, 1)))
            return y > 0;
        for (int x = 0; x < width; ++x) {
            const uchar *from = line.data() + std::size_t(x) * 4;
            float *to = light.data() + std::size_t(x) * 4;
            const float unit = from[3] ? std::ldexp(scale, int(from[3]) - 136) : 0;
            for (int channel = 0; channel < 3; ++channel)
                to[channel] = (float(from[channel]) + 0.5f) * unit;
            to[3] = 1;
        }
        shrinker.add(light.data());
    }
    return true;
}
