#include "DriveFixture.h"
#include "ImageFormat.h"
#include "Thumbnails.h"

#include <QBuffer>
#include <QElapsedTimer>
#include <QImage>
#include <QImageReader>
#include <QImageWriter>
#include <QtEndian>

#include <csignal>
#include <thread>
#include <unistd.h>

using namespace arkvale::service;

class TestThumbnails : public DriveTest
{
    Q_OBJECT

private slots:
    void init()
    {
        begin();
        m_thumbnails = std::make_unique<Thumbnails>(
            ImageWorkers::Options{builtProgram("arkvale-thumbnailer").toStdString(), 2, std::chrono::seconds(10)});
    }
    void cleanup()
    {
        m_thumbnails.reset();
        end();
    }

    void formats_data()
    {
        QTest::addColumn<QByteArray>("format");
        for (const char *format : {"png", "jpg", "bmp", "ppm", "webp", "tiff", "ico", "tga", "exr", "hdr"})
            QTest::newRow(format) << QByteArray(format);
    }

    void formats()
    {
        QFETCH(QByteArray, format);
        if (!QImageReader::supportedImageFormats().contains(format))
            QSKIP("No decoder is installed.");
        QByteArray bytes = encoded(picture(200, 100), format.constData());
        if (format == "tga") {
            // Uncompressed, 24 bits, from the top.
            bytes = QByteArray("\0\0\2\0\0\0\0\0\0\0\0\0\xc8\0\x64\0\x18\x20", 18);
            bytes += QByteArray("\0\0\xff", 3).repeated(10000) + QByteArray("\xff\0\0", 3).repeated(10000);
        } else if (format == "exr") {
            bytes = openExr();
        } else if (format == "hdr") {
            bytes = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 100 +X 200\n";
            bytes += QByteArray("\x80\0\0\x81", 4).repeated(10000) + QByteArray("\0\0\x80\x81", 4).repeated(10000);
        }
        if (bytes.isEmpty())
            QSKIP("No encoder is installed.");
        const QString name = "x." + QString::fromLatin1(format);
        put(name, bytes);
        QCOMPARE(imageFormatOf(bytes.constData(), std::size_t(bytes.size()), name.toStdString()), format.toStdString());
        QImage image;
        const Outcome outcome = get("/" + name, 64, &image);
        QVERIFY2(outcome.ok(), outcome.message.c_str());
        QCOMPARE(image.width(), 64);
        QCOMPARE(image.height(), 32);
        QVERIFY(qRed(image.pixel(32, 4)) > 150 && qBlue(image.pixel(32, 4)) < 60);
        QVERIFY(qBlue(image.pixel(32, 28)) > 150 && qRed(image.pixel(32, 28)) < 60);
        // The name says nothing where the bytes do.
        if (format != "tga") {
            put("y.txt", bytes);
            QVERIFY(get("/y.txt", 64).ok());
        }
    }

    void orientation()
    {
        QByteArray bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        QImageWriter writer(&buffer, "jpg");
        writer.setTransformation(QImageIOHandler::TransformationRotate90);
        QVERIFY(writer.write(picture(400, 200)));
        put("x.jpg", bytes);
        QImage image;
        QVERIFY(get("/x.jpg", 100, &image).ok());
        QCOMPARE(image.size(), QSize(50, 100));
        // What was above is to the right now.
        QVERIFY(qRed(image.pixel(40, 50)) > 200 && qBlue(image.pixel(10, 50)) > 200);
    }

    void neverLarger()
    {
        put("small.png", encoded(picture(20, 10), "png"));
        put("thin.png", encoded(picture(3000, 2), "png"));
        QImage image;
        QVERIFY(get("/small.png", 256, &image).ok());
        QCOMPARE(image.size(), QSize(20, 10));
        QVERIFY(get("/thin.png", 64, &image).ok());
        QCOMPARE(image.size(), QSize(64, 1));
    }

    void keptUntilTheImageChanges()
    {
        put("x.png", encoded(picture(200, 100), "png"));
        QImage image;
        QVERIFY(get("/x.png", 64).ok());
        QVERIFY(get("/x.png", 64, &image).ok());
        QCOMPARE(image.width(), 64);
        QCOMPARE(cached(), 1);
        QVERIFY(get("/x.png", 32, &image).ok());
        QCOMPARE(image.width(), 32);
        put("x.png", encoded(picture(100, 200), "png"));
        QVERIFY(get("/x.png", 64, &image).ok());
        QCOMPARE(image.size(), QSize(32, 64));
        QCOMPARE(cached(), 3);
        // A broken file in the cache is no more than a miss.
        const QDir cache(QString::fromStdString(m_root) + "/.arkvale/thumbs");
        for (const QString &name : cache.entryList(QDir::Files))
            QVERIFY(QFile::resize(cache.filePath(name), 0));
        QVERIFY(get("/x.png", 64, &image).ok());
        QCOMPARE(image.size(), QSize(32, 64));
    }

    void refused_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("status");
        const QByteArray svg = "<svg xmlns='http://www.w3.org/2000/svg' xmlns:xlink='http://www.w3.org/1999/xlink'>"
                               "<image xlink:href='/etc/passwd'/></svg>";
        const QByteArray png = encoded(picture(100, 100), "png");
        QTest::newRow("text") << "x.png" << QByteArray("hello") << 415;
        QTest::newRow("empty") << "x.png" << QByteArray() << 415;
        QTest::newRow("picture that names a file") << "x.svg" << svg << 415;
        QTest::newRow("picture that is a program") << "x.eps" << QByteArray("%!PS-Adobe-3.0 EPSF-3.0\nquit\n") << 415;
        QTest::newRow("layered") << "x.psd" << QByteArray("8BPS\0\1\0\0\0\0\0\0\0\3\0\0\0\1\0\0\0\1\0\10\0\3", 26)
                                 << 415;
        QTest::newRow("cut in the head") << "x.png" << png.left(20) << 422;
        QTest::newRow("mark alone") << "x.jpg" << QByteArray("\xff\xd8\xff\xe0") << 422;
        QByteArray huge = png;
        qToBigEndian<quint32>(60000, huge.data() + 16);
        qToBigEndian<quint32>(60000, huge.data() + 20);
        QTest::newRow("too many pixels") << "x.png" << huge << 422;
        // A kilobyte that says it is gigabytes, in the format that tells its size only to its decoder.
        QByteArray wide("\0\0\2\0\0\0\0\0\0\0\0\0\xff\xff\xff\xff\x20\0", 18);
        QTest::newRow("too many pixels, no check before") << "x.tga" << wide + QByteArray(1000, 1) << 422;
    }

    void refused()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, bytes);
        put(name, bytes);
        QTEST(get("/" + name, 64).status, "status");
        QCOMPARE(cached(), 0);
        QCOMPARE(::symlink("../bob/secret", qPrintable(local("link.png"))), 0);
        QCOMPARE(get("/link.png", 64).status, 403);
        QCOMPARE(get("/none", 64).status, 404);
        QCOMPARE(get("/", 64).status, 409);
        QCOMPARE(get("/../bob/secret", 64).status, 400);
    }

    void craftedImages()
    {
        // Whatever the bytes are, the next image is served.
        QRandomGenerator random(11);
        for (const char *format : {"png", "jpg", "webp", "tiff", "gif", "bmp", "ico"}) {
            const QByteArray whole = encoded(picture(60, 40), format);
            for (int round = 0; round < 12 && !whole.isEmpty(); ++round) {
                QByteArray broken = whole;
                for (int flips = 0; flips <= round; ++flips)
                    broken[random.bounded(4, whole.size())] = char(random.generate());
                if (round % 4 == 3)
                    broken.truncate(random.bounded(8, whole.size()));
                put("x", broken);
                const int status = get("/x", 32).status;
                QVERIFY2(status == 200 || status == 415 || status == 422, qPrintable(QString::number(status)));
            }
        }
        put("good.png", encoded(picture(60, 40), "png"));
        QVERIFY(get("/good.png", 32).ok());
    }

    void manyAtOnce()
    {
        for (int i = 0; i < 40; ++i)
            put(QString("%1.png").arg(i), encoded(picture(40 + i, 20), "png"));
        std::atomic<int> good{0};
        std::vector<std::thread> threads;
        for (int t = 0; t < 8; ++t) {
            threads.emplace_back([&, t] {
                for (int i = t; i < 40; i += 4)
                    good += get(QString("/%1.png").arg(i), 16 + t).ok() ? 1 : 0;
            });
        }
        for (std::thread &thread : threads)
            thread.join();
        QCOMPARE(int(good), 4 * 10 + 4 * 9);
    }

    void processThatHangs()
    {
        // A program that never answers stands for a decoder that never returns.
        const QString program = m_temp->path() + "/hang";
        QFile script(program);
        QVERIFY(script.open(QIODevice::WriteOnly));
        script.write("#!/bin/sh\nexec sleep 60\n");
        script.close();
        script.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
        ImageWorkers workers({program.toStdString(), 1, std::chrono::milliseconds(300)});
        put("x.png", encoded(picture(10, 10), "png"));
        zpdt::SafeFile file;
        QVERIFY(m_home.folder.openRead("x.png", file).ok());
        QElapsedTimer timer;
        timer.start();
        std::string png;
        QCOMPARE(workers.render(file, "png", 32, 32, png).status, 422);
        QCOMPARE(workers.render(file, "png", 32, 32, png).status, 422);
        QVERIFY(timer.elapsed() < 5000);
    }

    void withoutProgram()
    {
        Thumbnails none(ImageWorkers::Options{"/none/program", 1, std::chrono::seconds(5)});
        put("x.png", encoded(picture(10, 10), "png"));
        std::string png;
        QCOMPARE(none.get(m_home, "/x.png", 32, 32, png).status, 503);
        QCOMPARE(none.get(m_home, "/x.png", 32, 32, png).status, 503);
    }

private:
    Outcome get(const QString &path, int side, QImage *image = nullptr)
    {
        std::string png;
        const Outcome outcome = m_thumbnails->get(m_home, path.toStdString(), unsigned(side), unsigned(side), png);
        if (outcome.ok() && image)
            *image = QImage::fromData(QByteArray::fromStdString(png), "PNG");
        return outcome;
    }
    static QByteArray encoded(const QImage &image, const char *format)
    {
        QByteArray bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        QImageWriter(&buffer, format).write(image);
        return bytes;
    }
    /// Red above, blue below.
    static QImage picture(int width, int height)
    {
        QImage image(width, height, QImage::Format_RGB32);
        image.fill(Qt::red);
        for (int y = height / 2; y < height; ++y) {
            for (int x = 0; x < width; ++x)
                image.setPixel(x, y, qRgb(0, 0, 255));
        }
        return image;
    }
    /// picture(200, 100) with 32-bit numbers, not compressed.
    static QByteArray openExr()
    {
        QByteArray bytes;
        const auto number = [&](auto value) {
            value = qToLittleEndian(value);
            bytes.append(reinterpret_cast<const char *>(&value), sizeof(value));
        };
        const auto attribute = [&](const char *name, const char *type, const QByteArray &value) {
            bytes.append(name).append('\0').append(type).append('\0');
            number(qint32(value.size()));
            bytes.append(value);
        };
        const QByteArray box("\0\0\0\0\0\0\0\0\xc7\0\0\0\x63\0\0\0", 16);
        const QByteArray channel("\0\2\0\0\0\0\0\0\0\1\0\0\0\1\0\0\0", 17);
        const QByteArray one("\0\0\x80\x3f", 4);
        bytes = QByteArray("v/1\1\2\0\0\0", 8);
        attribute("channels", "chlist", "B" + channel + "G" + channel + "R" + channel + QByteArray(1, 0));
        attribute("compression", "compression", QByteArray(1, 0));
        attribute("dataWindow", "box2i", box);
        attribute("displayWindow", "box2i", box);
        attribute("lineOrder", "lineOrder", QByteArray(1, 0));
        attribute("pixelAspectRatio", "float", one);
        attribute("screenWindowCenter", "v2f", QByteArray(8, 0));
        attribute("screenWindowWidth", "float", one);
        bytes.append('\0');
        const QByteArray full = one.repeated(200);
        const QByteArray none(800, 0);
        const qint64 lines = bytes.size() + 100 * 8;
        for (qint64 y = 0; y < 100; ++y)
            number(qint64(lines + y * (8 + 2400)));
        for (qint32 y = 0; y < 100; ++y) {
            number(y);
            number(qint32(2400));
            bytes += y < 50 ? none + none + full : full + none + none;
        }
        return bytes;
    }
    int cached() const
    {
        return QDir(QString::fromStdString(m_root) + "/.arkvale/thumbs").entryList(QDir::Files).size();
    }

    std::unique_ptr<Thumbnails> m_thumbnails;
};

ARKVALE_GUILESS_TEST(TestThumbnails)
#include "tst_thumbnails.moc"
