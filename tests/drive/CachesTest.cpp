#include "FakeOrvClient.h"
#include "FileCacheAssistant.h"
#include "FileIconAssistant.h"
#include "GlobalConfig.h"
#include "TestFiles.h"
#include "TestSupport.h"

#include <QBuffer>
#include <QDir>
#include <QImage>
#include <QImageWriter>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <memory>

namespace {

FileItem picture(const QString &path, quint64 datetime = 5)
{
    FileItem item;
    item.path = path;
    item.name = path.mid(path.lastIndexOf('/') + 1);
    item.datetime = datetime;
    item.contentType = "image/png";
    return item;
}

QByteArray png(int side)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImage image(side, side, QImage::Format_RGB32);
    image.fill(Qt::red);
    QImageWriter(&buffer, "png").write(image);
    return bytes;
}

} // namespace

class CachesTest : public StrictTest
{
    Q_OBJECT

private:
    std::unique_ptr<FileCacheAssistant> m_cache;
    std::unique_ptr<FileIconAssistant> m_icons;
    QMap<QString, int> m_told;
    QMap<QString, int> m_codes; ///< by remote path
    QByteArray m_body;
    bool m_silent = false;

    int asked() const { return FakeService::instance().calls("getThumbnail").size(); }

private slots:
    void init()
    {
        beginStrict();
        FakeService::instance().reset();
        m_told.clear();
        m_codes.clear();
        m_silent = false;
        m_body = png(64);
        FakeService::instance().setScript([this](const FakeCall &call, int *code, QByteArray *body) {
            *code = m_codes.value(call.arguments.first(), 200);
            *body = m_body;
            return !m_silent;
        });
        // Each test has a sub-center, and with it a cache, of its own.
        static int number = 0;
        m_cache = std::make_unique<FileCacheAssistant>(QString::number(++number));
        m_icons = std::make_unique<FileIconAssistant>("http://service/", m_cache->folders());
        // As the page connects them.
        QVERIFY(connect(m_icons.get(), SIGNAL(checkFileIconCache(FileItem, QSize)), m_cache.get(),
                        SLOT(checkThumbnailCache(FileItem, QSize))));
        QVERIFY(connect(m_cache.get(), SIGNAL(thumbnailCacheVaild(FileItem, QSize)), m_icons.get(),
                        SLOT(getLocalIcon(FileItem, QSize))));
        QVERIFY(connect(m_cache.get(), SIGNAL(thumbnailCacheInvaild(FileItem, QSize)), m_icons.get(),
                        SLOT(getRemoteIcon(FileItem))));
        connect(m_icons.get(), &FileIconAssistant::handlerGetFileIconFinished, this,
                [this](const QList<FileItem> &items) {
                    for (const FileItem &item : items) {
                        ++m_told[item.path];
                        m_cache->writeThumbnailCache(item, m_icons->thumbnailSize());
                    }
                });
    }
    void cleanup()
    {
        m_icons.reset();
        m_cache.reset();
        endStrict();
    }

    void namesOfEntries()
    {
        const CacheFolders folders("/c/", "7");
        // The digests of "/a/é.png56432" and "/a/é.png5".
        const QString path = QString::fromUtf8("/a/\xc3\xa9.png");
        QCOMPARE(folders.thumbnail(picture(path), QSize(64, 32)),
                 QString("/c/7/Thumbnail/0/9/a/09a8830b95f3687b49caf48b03a40736"));
        QCOMPARE(folders.file(picture(path)), QString("/c/7/File/e/4/6/e46e3e588058f23c72dc176ac60f3ce9"));
        QSet<QString> all;
        for (quint64 time : {5, 6}) {
            for (const QSize &size : {QSize(64, 32), QSize(32, 64)})
                all << folders.thumbnail(picture(path, time), size) << folders.preview(picture(path, time), size);
            all << folders.file(picture(path, time));
        }
        QCOMPARE(all.size(), 10);
        // A sub-center's id is foreign text.
        const QString odd = CacheFolders("/c/", "../../etc").file(picture(path));
        QCOMPARE(QDir::cleanPath(odd), odd);
    }

    void fromTheServiceOnceThenFromTheDisk()
    {
        m_icons->getIcon({picture("/p/a.png"), picture("/p/a.png"), picture("/p/b.png")});
        QTRY_COMPARE(m_told.size(), 2);
        QCOMPARE(asked(), 2);
        QTRY_COMPARE(QFileInfo(m_cache->folders().thumbnail(picture("/p/a.png"), QSize(64, 64))).size(),
                     qint64(m_body.size()));
        m_icons->getIcon({picture("/p/a.png")});
        QTRY_COMPARE(m_told.value("/p/a.png"), 2);
        QCOMPARE(asked(), 2);
        m_icons->getIcon({picture("/p/a.png", 6)}); // the file has changed
        QTRY_COMPARE(m_told.value("/p/a.png"), 3);
        QCOMPARE(asked(), 3);
        m_icons->setThumbnailSize(QSize(128, 128));
        m_icons->getIcon({picture("/p/a.png")});
        QTRY_COMPARE(m_told.value("/p/a.png"), 4);
        QCOMPARE(asked(), 4);
    }

    void brokenEntriesAndAnswers()
    {
        const QString entry = m_cache->folders().thumbnail(picture("/p/a.png"), QSize(64, 64));
        writeFile(entry, m_body.left(m_body.size() / 2));
        m_icons->getIcon({picture("/p/a.png")});
        QTRY_COMPARE(m_told.value("/p/a.png"), 1);
        QTRY_COMPARE(QFileInfo(entry).size(), qint64(m_body.size()));
        // What no picture is made of is not asked for again; what failed by chance is.
        m_codes = {{"/p/none.png", 415}, {"/p/later.png", 503}, {"/p/script.png", 200}};
        for (int asking = 0; asking < 2; ++asking) {
            m_body = "%!PS run me";
            m_icons->getIcon({picture("/p/none.png"), picture("/p/later.png"), picture("/p/script.png")});
            QTRY_COMPARE(m_icons->pending(), 0);
        }
        QCOMPARE(m_told.size(), 1);
        QCOMPARE(asked(), 1 + 3 + 1);
    }

    void onlyWhatIsSeen()
    {
        m_silent = true;
        QList<FileItem> folder;
        for (int i = 0; i < 2000; ++i)
            folder << picture(QString("/p/%1.png").arg(i));
        m_icons->getIcon(folder);
        QVERIFY(m_icons->pending() <= 1000);
        QTRY_COMPARE(asked(), 4); // a few at once
        QCOMPARE(FakeService::instance().calls("getThumbnail").first().arguments.first(), QString("/p/0.png"));
        // The person has scrolled on: what ran is given up, and its late answer is nobody's.
        const QList<FakeCall> early = FakeService::instance().calls("getThumbnail");
        m_icons->getVisibleIcons(folder.mid(1500, 30));
        QCOMPARE(m_icons->pending(), 30);
        QTRY_COMPARE(asked(), 8);
        QCOMPARE(FakeService::instance().calls("getThumbnail").at(4).arguments.first(), QString("/p/1500.png"));
        for (const FakeCall &call : early)
            FakeService::instance().answer(call, 200, m_body);
        m_silent = false;
        for (const FakeCall &call : FakeService::instance().calls("getThumbnail").mid(4))
            FakeService::instance().answer(call, 200, m_body);
        QTRY_COMPARE(m_told.size(), 30);
        QVERIFY(!m_told.contains("/p/0.png"));
        m_silent = true;
        m_icons->getIcon(folder);
        m_icons->stop();
        QCOMPARE(m_icons->pending(), 0);
    }

    void iconsOfUsers()
    {
        UserInfo user;
        user.icon = "icons/user/demo.png";
        QSignalSpy told(m_icons.get(), &FileIconAssistant::handlerGetUserIconFinished);
        m_icons->getUserIcon({user, user});
        QTRY_COMPARE(told.size(), 1);
        QCOMPARE(told.first().first().value<QList<UserInfo>>().size(), 2);
        QTRY_COMPARE(CacheFolders::read(m_cache->folders().userIcon(user.icon), 1 << 20), m_body);
        m_icons->getUserIcon({user});
        QTRY_COMPARE(told.size(), 2);
        QCOMPARE(told.last().first().value<QList<UserInfo>>().first().iconData, m_body);
        QCOMPARE(FakeService::instance().calls("getIcon").size(), 1);
    }
};

ARKVALE_GUILESS_TEST(CachesTest)
#include "CachesTest.moc"
