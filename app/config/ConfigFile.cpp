#include "ConfigFile.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <cmath>

namespace {
constexpr qint64 kMostBytes = 4 * 1024 * 1024;
constexpr int kMostDepth = 32;
} // namespace

std::optional<ConfigFile::Json> ConfigFile::read(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return std::nullopt;
    const QByteArray bytes = file.read(kMostBytes + 1);
    if (bytes.size() > kMostBytes)
        return std::nullopt;
    // Depth is bounded because values that the program does not know are written back, and writing recurses.
    bool tooDeep = false;
    const Json::parser_callback_t bounded = [&tooDeep](int depth, Json::parse_event_t, Json &) {
        tooDeep = tooDeep || depth > kMostDepth;
        return !tooDeep;
    };
    Json object = Json::parse(bytes.constBegin(), bytes.constEnd(), bounded, false);
    if (tooDeep || object.is_discarded() || !object.is_object())
        return std::nullopt;
    return object;
}

bool ConfigFile::write(const QString &path, const Json &object, bool isPrivate)
{
    if (QFileInfo(path).size() > 0 && !read(path)) {
        const QString kept = path + QStringLiteral(".unreadable");
        QFile::remove(kept);
        QFile::copy(path, kept);
    }
    const std::string text = object.dump(4, ' ', false, Json::error_handler_t::replace) + '\n';
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text))
        return false;
    if (isPrivate)
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    if (file.write(text.data(), static_cast<qint64>(text.size())) != static_cast<qint64>(text.size())) {
        file.cancelWriting();
        return false;
    }
    return file.commit();
}

QString ConfigFile::text(const Json &object, const char *key, const QString &fallback)
{
    const auto found = object.find(key);
    if (found == object.end() || !found->is_string())
        return fallback;
    return QString::fromStdString(found->get_ref<const std::string &>());
}

bool ConfigFile::boolean(const Json &object, const char *key, bool fallback)
{
    const auto found = object.find(key);
    return found != object.end() && found->is_boolean() ? found->get<bool>() : fallback;
}

int ConfigFile::integer(const Json &object, const char *key, int fallback, int least, int most)
{
    const auto found = object.find(key);
    if (found == object.end() || !found->is_number())
        return fallback;
    const double number = found->get<double>();
    if (std::floor(number) != number || number < least || number > most)
        return fallback;
    return static_cast<int>(number);
}

ConfigFile::Json ConfigFile::fromText(const QString &text)
{
    return Json(text.toStdString());
}
