#pragma once

#include "Context.h"
#include "UserHome.h"

#include "TestFiles.h"
#include "TestSupport.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <atomic>
#include <memory>
#include <mutex>

namespace arkvale::service {

/// A service of one sub-center ("1") with the homes of alice and bob, on a temporary disk.
class FakeContext : public Context
{
public:
    explicit FakeContext(const std::string &root)
        : m_root(root)
    {
    }

    std::vector<SubCenterInfo> subCenters() const override { return {*subCenter("1")}; }
    std::optional<SubCenterInfo> subCenter(const std::string &id) const override
    {
        SubCenterInfo info;
        info.id = "1";
        info.rootFolder = m_root;
        return id == "1" ? std::optional<SubCenterInfo>(info) : std::nullopt;
    }
    std::optional<std::string> userHome(const std::string &user, const std::string &) const override
    {
        if (user == "alice" || user == "bob")
            return m_root + "/" + user;
        return std::nullopt;
    }
    StorageUse storage(const std::string &, const std::string &) const override { return {used, quota}; }
    void addUsed(const std::string &, const std::string &, std::int64_t delta) override
    {
        const std::int64_t now = used += delta;
        std::int64_t seen = peak;
        while (now > seen && !peak.compare_exchange_weak(seen, now)) {
        }
    }
    void recount(const std::string &, const std::string &) override { ++recounts; }

    std::atomic<std::int64_t> used{0};
    std::atomic<std::int64_t> peak{0};
    std::atomic<std::int64_t> quota{1ll << 40};
    std::atomic<int> recounts{0};

private:
    const std::string m_root;
};

/// Base of the tests of the drive: a fresh home of alice for each test function.
class DriveTest : public StrictTest
{
    Q_OBJECT

protected:
    void begin()
    {
        beginStrict();
        m_temp = std::make_unique<QTemporaryDir>();
        m_root = m_temp->path().toStdString() + "/root";
        QDir().mkpath(m_temp->path() + "/root/alice");
        QDir().mkpath(m_temp->path() + "/root/bob");
        QDir().mkpath(m_temp->path() + "/outside");
        put("../bob/secret", "secret");
        put("../../outside/secret", "secret");
        m_context = std::make_unique<FakeContext>(m_root);
        zpdt::FileResult result;
        m_home.user = "alice";
        m_home.subCenter = "1";
        m_home.context = m_context.get();
        m_home.storeroom = Storeroom::open(m_root, result);
        QVERIFY(result.ok());
        QVERIFY(zpdt::SafeFolder::open(m_root + "/alice", m_home.folder).ok());
    }
    void end()
    {
        m_home = UserHome();
        m_context.reset();
        m_temp.reset();
        endStrict();
    }

    QString local(const QString &path) const { return QString::fromStdString(m_root) + "/alice/" + path; }
    void put(const QString &path, const QByteArray &bytes) const { writeFile(local(path), bytes); }
    QByteArray get(const QString &path) const
    {
        QFile file(local(path));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(none)");
    }
    /// Everything in the home with its bytes: "path" or "path/" for a folder.
    QMap<QString, QByteArray> tree(const QString &below = QString()) const
    {
        QMap<QString, QByteArray> all;
        const QDir dir(local(below));
        for (const QFileInfo &info :
             dir.entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot)) {
            const QString path = below + info.fileName();
            if (info.isDir() && !info.isSymLink()) {
                all.insert(path + '/', QByteArray());
                const auto inner = tree(path + '/');
                for (auto entry = inner.begin(); entry != inner.end(); ++entry)
                    all.insert(entry.key(), entry.value());
            } else {
                all.insert(path, info.isSymLink() ? QByteArray("(link)") : get(path));
            }
        }
        return all;
    }
    /// True when nothing is left in the work folder and the bins, once they were emptied.
    bool nothingLeftOver() const
    {
        m_home.storeroom->waitUntilEmpty();
        const QString base = QString::fromStdString(m_root) + "/.arkvale/";
        const auto all = QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System;
        return QDir(base + "work").entryList(all).isEmpty() && QDir(base + "trash").entryList(all).isEmpty();
    }
    static QJsonObject parsed(const std::string &json)
    {
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(QByteArray::fromStdString(json), &error);
        return error.error == QJsonParseError::NoError ? document.object() : QJsonObject{{"broken", true}};
    }
    static QStringList namesOf(const std::string &json)
    {
        QStringList names;
        const QJsonArray items = parsed(json).value("items").toArray();
        for (const QJsonValue &item : items)
            names << item.toObject().value("name").toString();
        names.sort();
        return names;
    }

    std::unique_ptr<QTemporaryDir> m_temp;
    std::string m_root;
    std::unique_ptr<FakeContext> m_context;
    UserHome m_home;
};

} // namespace arkvale::service
