#include "DialogAnswers.h"
#include "FakeOrvClient.h"
#include "FetchJob.h"
#include "FilePreview.h"
#include "FilePreviewForDesktop.h"
#include "GlobalConfig.h"
#include "ImageDecoder.h"
#include "ImagePreviewWidget.h"
#include "PictureView.h"
#include "PreviewProgress.h"
#include "TestFiles.h"
#include "TestSupport.h"

#include <QApplication>
#include <QBuffer>
#include <QImageWriter>
#include <QLabel>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QToolButton>
#include <QtEndian>

#include <memory>

namespace {

FileItem file(const QString &path, quint64 size, const QString &type = QString())
{
    FileItem item;
    item.path = path;
    item.name = path.mid(path.lastIndexOf('/') + 1);
    item.size = size;
    item.datetime = 5;
    item.contentType = type;
    return item;
}

QByteArray encoded(const QSize &size, const char *format)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(QColor(200, 40, 40));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter(&buffer, format).write(image);
    return bytes;
}

/// Twice as bright as white on the left, dark on the right.
QByteArray radiance(int width, int height)
{
    QByteArray line;
    for (int x = 0; x < width; ++x)
        line += x < width / 2 ? QByteArray("\x80\x80\x80\x82", 4) : QByteArray("\x80\x80\x80\x7a", 4);
    return "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y " + QByteArray::number(height) + " +X " +
           QByteArray::number(width) + "\n" + line.repeated(height);
}

/// A picture that claims to be of that size.
QByteArray claiming(QByteArray png, quint32 width, quint32 height)
{
    qToBigEndian<quint32>(width, png.data() + 16);
    qToBigEndian<quint32>(height, png.data() + 20);
    return png;
}

class FakeBackend : public PreviewBackend
{
public:
    explicit FakeBackend(QStringList *opened)
        : m_opened(opened)
    {
    }
    bool isSupported(const std::wstring &name) const override { return QString::fromStdWString(name) != "x.none"; }
    bool open(const QString &path) const override
    {
        m_opened->append(path);
        return true;
    }

private:
    QStringList *m_opened;
};

constexpr quint64 Limit = 10 * 1048576; // bytes, by the setting that is shipped

} // namespace

class PreviewTest : public StrictTest
{
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_disk;
    CacheFolders m_folders;
    QMap<QString, QByteArray> m_drive; ///< remote path to contents; a missing one fails
    bool m_silent = false;

    void answerNow(const FakeCall &call)
    {
        const bool known = m_drive.contains(call.arguments.first());
        if (known)
            writeFile(call.arguments.at(1), m_drive.value(call.arguments.first()));
        FakeService::instance().answer(call, known ? 200 : 404);
    }
    int fetches() const { return FakeService::instance().calls("getPreviewFile").size(); }

private slots:
    void init()
    {
        beginStrict();
        allowMessage("does not support"); // what the offscreen platform says of windows
        m_disk = std::make_unique<QTemporaryDir>();
        m_folders = CacheFolders(m_disk->path() + "/Cache/", "1");
        m_drive.clear();
        m_silent = false;
        FakeService::instance().reset();
        FakeService::instance().setScript([this](const FakeCall &call, int *code, QByteArray *) {
            if (m_silent || call.operation != "getPreviewFile")
                return false;
            *code = m_drive.contains(call.arguments.first()) ? 200 : 404;
            if (*code == 200)
                writeFile(call.arguments.at(1), m_drive.value(call.arguments.first()));
            return true;
        });
    }
    void cleanup() { endStrict(); }

    void openings_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<quint64>("size");
        QTest::addColumn<int>("cached"); ///< bytes in the cache, -1: none
        QTest::addColumn<int>("fetched");
        QTest::addColumn<QString>("told");
        QTest::newRow("fetched") << "/d/a.pdf" << quint64(100) << -1 << 1 << "";
        QTest::newRow("there") << "/d/a.pdf" << quint64(100) << 100 << 0 << "";
        QTest::newRow("left of a fetch that broke off") << "/d/a.pdf" << quint64(100) << 99 << 1 << "";
        QTest::newRow("empty") << "/d/empty.txt" << quint64(0) << -1 << 1 << "";
        QTest::newRow("no program") << "/d/x.none" << quint64(1) << -1 << 0 << "Preview of the file is not supported.";
        QTest::newRow("a program itself")
            << "/d/x.EXE. " << quint64(1) << 1 << 0 << "Preview of the file is not supported.";
        QTest::newRow("just small enough") << "/d/a.pdf" << Limit - 1 << int(Limit) - 1 << 0 << "";
        QTest::newRow("too large") << "/d/a.pdf" << Limit << int(Limit) << 0
                                   << "Preview of file larger than 10MB is not supported, please download it.";
        QTest::newRow("gone") << "/d/gone.pdf" << quint64(100) << -1 << 1 << "File loading failed!";
        QTest::newRow("became shorter") << "/d/short.pdf" << quint64(100) << -1 << 1 << "File loading failed!";
    }
    void openings()
    {
        QFETCH(QString, path);
        QFETCH(quint64, size);
        QFETCH(int, cached);
        QFETCH(QString, told);
        m_drive = {{"/d/a.pdf", QByteArray(100, 'a')}, {"/d/empty.txt", ""}, {"/d/short.pdf", "short"}};
        const FileItem item = file(path, size);
        if (cached >= 0)
            writeFile(m_folders.file(item), QByteArray(cached, 'c'));
        QStringList opened;
        QWidget window;
        FilePreview preview("http://service/", m_folders, &window);
        preview.setBackend(std::make_unique<FakeBackend>(&opened));
        DialogAnswers answers;
        for (int i = 0; i < (told.isEmpty() ? 0 : 1); ++i)
            answers.accept();
        preview.open(item);
        if (told.isEmpty())
            QTRY_COMPARE(opened.size(), 1);
        else
            QTRY_COMPARE(answers.shown().value(0).text, told);
        QTEST(fetches(), "fetched");
        if (!told.isEmpty()) {
            QVERIFY(opened.isEmpty());
            return;
        }
        // The program sees the file's own name; neither it nor the cache's may be written.
        QCOMPARE(QFileInfo(opened.first()).fileName(), item.name);
        QCOMPARE(QFileInfo(opened.first()).size(), qint64(size));
        QVERIFY(!(QFile::permissions(opened.first()) & (QFile::WriteOwner | QFile::WriteGroup | QFile::WriteOther)));
        QVERIFY(!(QFile::permissions(m_folders.file(item)) & QFile::WriteOwner));
    }

    void fetchedOnceAndCancelled()
    {
        m_silent = true;
        m_drive = {{"/d/a.pdf", QByteArray(5000, 'a')}};
        const FileItem item = file("/d/a.pdf", 5000);
        QStringList opened;
        QWidget window;
        FilePreview one("http://service/", m_folders, &window), two("http://service/", m_folders, &window);
        for (FilePreview *preview : {&one, &two}) {
            preview->setBackend(std::make_unique<FakeBackend>(&opened));
            preview->open(item);
            preview->open(item);
        }
        QCOMPARE(fetches(), 1);
        // What has arrived so far is shown.
        QTRY_COMPARE(window.findChildren<PreviewProgress *>().size(), 2);
        PreviewProgress *progress = window.findChildren<PreviewProgress *>().first();
        QTRY_VERIFY(progress->isVisible());
        writeFile(m_folders.file(item) + ".part", QByteArray(2500, 'a'));
        auto *bar = progress->findChild<QObject *>("previewProgressBar");
        QTRY_COMPARE(bar->property("value").toInt(), 500);
        // One of them does not want it any more; the other still gets it.
        progress->reject();
        answerNow(FakeService::instance().last("getPreviewFile"));
        QTRY_COMPARE(opened.size(), 1);
        QTRY_VERIFY(window.findChildren<PreviewProgress *>().isEmpty());
        // Nobody wants it: the request goes with its client.
        const FileItem other = file("/d/b.pdf", 10);
        one.open(other);
        QTRY_VERIFY(!window.findChildren<PreviewProgress *>().isEmpty());
        window.findChildren<PreviewProgress *>().first()->reject();
        QCoreApplication::processEvents();
        answerNow(FakeService::instance().last("getPreviewFile"));
        two.open(other);
        QCOMPARE(fetches(), 3);
    }

    void namesOnTheDisk_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("harmless");
        QTest::newRow("plain") << QString::fromUtf8("渲染 a.b.pdf") << QString::fromUtf8("渲染 a.b.pdf");
        QTest::newRow("path") << "../../x/y.txt"
                              << "_.._.._x_y.txt";
        QTest::newRow("device") << "Con.txt"
                                << "_Con.txt";
        QTest::newRow("numbered device") << "lpt1"
                                         << "_lpt1";
        QTest::newRow("turned around") << QString("a") + QChar(0x202e) + "fdp.exe"
                                       << "a_fdp.exe";
        QTest::newRow("only dots") << "..."
                                   << "_";
        QTest::newRow("line break") << "a\nb:c.txt"
                                    << "a_b_c.txt";
        QTest::newRow("long") << QString(400, 'x') + ".pdf" << QString(196, 'x') + ".pdf";
    }
    void namesOnTheDisk()
    {
        QFETCH(QString, name);
        QTEST(FilePreviewBase::harmlessName(name), "harmless");
    }

    void desktopAssociations()
    {
        const QString data = m_disk->path() + "/data", config = m_disk->path() + "/config";
        writeFile(data + "/applications/viewer.desktop", "[Desktop Entry]\n");
        writeFile(data + "/applications/mimeinfo.cache",
                  "[MIME Cache]\napplication/pdf=viewer.desktop;\nvideo/mp4=gone.desktop;viewer.desktop;\n"
                  "image/gif=gone.desktop;\n");
        writeFile(
            config + "/mimeapps.list",
            "[Removed Associations]\nimage/png=viewer.desktop;\n[Default Applications]\ntext/plain=viewer.desktop\n");
        const FilePreviewForDesktop backend({config}, {data});
        for (const wchar_t *name : {L"a.pdf", L"a.RMVB", L"a.webm", L"a.txt", L"a.cpp"})
            QVERIFY2(backend.isSupported(name), qPrintable(QString::fromWCharArray(name)));
        for (const wchar_t *name : {L"a.gif", L"a.png", L"a", L"", L"a.unheard-of"})
            QVERIFY2(!backend.isSupported(name), qPrintable(QString::fromWCharArray(name)));
    }

    void decoding_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QSize>("stored"); ///< empty: fails
        for (const char *format : {"png", "jpg", "bmp", "webp", "tiff"})
            QTest::newRow(format) << "x" << encoded(QSize(300, 200), format) << QSize(300, 200);
        QTest::newRow("high range") << "x.hdr" << radiance(300, 200) << QSize(300, 200);
        QTest::newRow("text") << "x.png" << QByteArray("This only calls itself a picture.") << QSize();
        QTest::newRow("program") << "x.eps" << QByteArray("%!PS-Adobe-3.0 EPSF-3.0\nquit\n") << QSize();
        QTest::newRow("cut") << "x.png" << encoded(QSize(30, 20), "png").left(40) << QSize();
        QTest::newRow("bomb") << "x.png" << claiming(encoded(QSize(9, 9), "png"), 60000, 60000) << QSize();
        QTest::newRow("bomb without a size")
            << "x.tga" << QByteArray("\0\0\2\0\0\0\0\0\0\0\0\0\x60\xea\x60\xea\x20\0", 18) << QSize();
        QByteArray light = radiance(2, 2);
        QTest::newRow("bright bomb") << "x.hdr" << light.replace("-Y 2 +X 2", "-Y 60000 +X 60000") << QSize();
        QTest::newRow("endless runs") << "x.hdr"
                                      << QByteArray("#?RGBE\n\n-Y 9 +X 9\n") + QByteArray("\1\1\1\xff", 4).repeated(99)
                                      << QSize();
        QTest::newRow("broken exr") << "x.exr" << QByteArray("v/1\x01\x02\0\0\0channels\0", 17) + noise(500, 3)
                                    << QSize();
    }
    void decoding()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QSize, stored);
        QFETCH(QString, name);
        ImageDecoder decoder(nullptr, builtProgram("ArkvaleTolmaImage"));
        QSignalSpy good(&decoder, &ImageDecoder::decoded), bad(&decoder, &ImageDecoder::failed);
        const QString path = m_disk->filePath("in"), whole = m_disk->filePath("whole");
        writeFile(path, bytes);
        writeFile(whole, encoded(QSize(40, 30), "png"));
        const quint64 id = decoder.decode(path, name);
        decoder.decode(whole, "whole.png"); // whatever came before it
        QTRY_COMPARE_WITH_TIMEOUT(good.size() + bad.size(), 2, 20000);
        QCOMPARE(bad.size(), stored.isEmpty() ? 1 : 0);
        if (stored.isEmpty())
            return;
        QCOMPARE(good.first().at(0).toULongLong(), id);
        const auto picture = good.first().at(1).value<Picture>();
        QCOMPARE(picture.stored, stored);
        QVERIFY(picture.isComplete && picture.levels.first().size() == stored);
        QCOMPARE(picture.isBright, name.endsWith(".hdr"));
        // What goes through the cache looks the same.
        const Picture again = Picture::fromCache(picture.toCache(QSize(150, 150)));
        QCOMPARE(again.size(), QSize(150, 100));
        QCOMPARE(again.stored, stored);
        QVERIFY(!again.isComplete && again.isBright == picture.isBright);
        QVERIFY(Picture::fromCache(picture.toCache(QSize(150, 150)).left(50)).isNull());
    }

    void decodersThatMisbehave_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::newRow("hangs") << QByteArray("exec sleep 60\n");
        QTest::newRow("crashes") << QByteArray("read line; kill -SEGV $$\n");
        QTest::newRow("lies") << QByteArray("while read line; do echo rgb 60000 60000 1 1; done\n");
        QTest::newRow("is not there") << QByteArray();
    }
    void decodersThatMisbehave()
    {
        QFETCH(QByteArray, script);
        const QString program = m_disk->filePath("decoder");
        if (!script.isEmpty()) {
            writeFile(program, "#!/bin/sh\n" + script);
            QFile::setPermissions(program, QFile::ReadOwner | QFile::ExeOwner);
        }
        ImageDecoder decoder(nullptr, program, 300);
        QSignalSpy bad(&decoder, &ImageDecoder::failed);
        decoder.decode(m_disk->filePath("a"), "a.png");
        decoder.cancel(decoder.decode(m_disk->filePath("b"), "b.png"));
        decoder.decode(m_disk->filePath("c"), "c.png");
        QTRY_COMPARE_WITH_TIMEOUT(bad.size(), 2, 5000);
    }

    void exposure()
    {
        // 0.25, 4, no number, endless, below zero
        const QVector<quint16> halves{0x3400, 0x3400, 0x3400, 0x3c00, 0x4400, 0x4400,
                                      0x4400, 0x3c00, 0x7e00, 0x7c00, 0xbc00, 0x3c00};
        const LightPixels light(QSize(3, 1), halves.constData(), nullptr);
        QCOMPARE(qRed(light.toned(0).pixel(0, 0)), 137); // 0.25 as screens show it
        const int bright = qRed(light.toned(0).pixel(1, 0)), less = qRed(light.toned(-3).pixel(1, 0));
        QVERIFY(bright > 250 && less < bright && less > 180);
        QCOMPARE(light.toned(0).pixel(2, 0), qRgb(0, 255, 0));
    }

    void viewerSteps()
    {
        QList<FileItem> images;
        for (int i = 0; i < 5; ++i) {
            const QByteArray bytes = i == 1 ? radiance(64, 32) : encoded(QSize(40 + i, 30), "png");
            const QString path = QString("/p/%1.%2").arg(i).arg(i == 1 ? "hdr" : i == 3 ? "PSD" : "png");
            m_drive.insert(path, i == 4 ? QByteArray("no picture") : bytes);
            images << file(path, quint64(m_drive.value(path).size()), "image/x");
        }
        QMap<QString, QByteArray> cache;
        ImagePreviewWidget viewer("http://service/", m_folders);
        connect(&viewer, &ImagePreviewWidget::sigCheckCache, &viewer, [&](const FileItem &item, const QSize &size) {
            if (cache.contains(item.path))
                viewer.previewCacheVaild(item, size, cache.value(item.path));
            else
                viewer.previewCacheInvaild(item, size);
        });
        connect(&viewer, &ImagePreviewWidget::sigWritePreviewCache, &viewer,
                [&](const FileItem &item, const QSize &, const QByteArray &bytes) { cache[item.path] = bytes; });
        QSignalSpy downloads(&viewer, &ImagePreviewWidget::sigDownload),
            removals(&viewer, &ImagePreviewWidget::sigDelete);
        const auto text = [&](const char *name) { return viewer.findChild<QLabel *>(name)->text(); };
        const auto message = [&] { return viewer.findChild<PictureView *>()->message(); };
        viewer.setImages(images, 0);
        viewer.show();
        QTRY_COMPARE(text("previewSize"), QString::fromUtf8("40 × 30"));
        QCOMPARE(text("previewPosition"), QString("(1/5)"));
        QTRY_VERIFY(cache.contains("/p/1.hdr")); // the neighbour is there before it is asked for
        QTest::keyClick(&viewer, Qt::Key_Right);
        QCOMPARE(text("previewSize"), QString::fromUtf8("64 × 32"));
        QVERIFY(viewer.findChild<QToolButton *>("brighterButton")->isVisibleTo(&viewer));
        const QString before = text("previewStops");
        QTest::keyClick(&viewer, Qt::Key_BracketRight);
        QTest::keyClick(&viewer, Qt::Key_BracketRight);
        QVERIFY(qAbs(text("previewStops").toDouble() - before.toDouble() - 1) < 0.01);
        viewer.findChild<QToolButton *>("Right")->click();
        QTRY_COMPARE(text("previewSize"), QString::fromUtf8("42 × 30"));
        QVERIFY(!viewer.findChild<QToolButton *>("brighterButton")->isVisibleTo(&viewer));
        QTest::keyClick(&viewer, Qt::Key_Right);
        QCOMPARE(message(), QString("Preview of the file is not supported."));
        QTest::keyClick(&viewer, Qt::Key_End);
        QTRY_COMPARE(message(), QString("File loading failed!"));
        QVERIFY(!m_drive.isEmpty() && fetches() == 4); // each once, and nothing for the one that is no picture
        QTest::keyClick(&viewer, Qt::Key_Delete);
        QTest::keyClick(&viewer, Qt::Key_S, Qt::ControlModifier);
        QVERIFY(removals.size() == 1 && downloads.size() == 1);
        viewer.removeImages({"/p/4.png", "/p/3.PSD"});
        QCOMPARE(viewer.current().path, QString("/p/2.png"));
        QCOMPARE(text("previewPosition"), QString("(3/3)"));
        viewer.removeImages({"/p/0.png", "/p/1.hdr", "/p/2.png"});
        QVERIFY(!viewer.isVisible());
    }

    void zooming()
    {
        QImage image(960, 640, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::white);
        image.setPixelColor(720, 480, Qt::red);
        PictureView view;
        view.resize(240, 160);
        view.setPicture(Picture::of(image, image.size()), false);
        QCOMPARE(view.scale(), 0.25);
        // What is under the pointer stays there.
        const QPoint at(180, 120);
        for (int i = 0; i < 20 && view.scale() < 8; ++i) {
            QWheelEvent wheel(at, view.mapToGlobal(at), QPoint(), QPoint(0, 120), Qt::NoButton, Qt::NoModifier,
                              Qt::NoScrollPhase, false);
            QApplication::sendEvent(&view, &wheel);
        }
        bool found = false;
        const QImage shown = view.grab().toImage();
        for (int y = 100; y < 140; ++y) {
            for (int x = 160; x < 200; ++x)
                found = found || shown.pixelColor(x, y) == QColor(Qt::red);
        }
        QVERIFY(found);
        view.moveBy(QPoint(100000, 100000)); // never out of sight
        QCOMPARE(view.grab().toImage().pixelColor(50, 50), QColor(Qt::white));
        view.fullSize();
        QCOMPARE(view.scale(), 1.0);
    }
};

ARKVALE_WIDGET_TEST(PreviewTest)
#include "PreviewTest.moc"
