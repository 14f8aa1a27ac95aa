#include "UpdateStore.h"

#include "Secrets.h"

#include <nlohmann/json.hpp>
#include <sodium.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace arkvale::service {

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

constexpr char kProduct[] = "ArkvaleTolma";
constexpr std::size_t kBlock = 1u << 20; // bytes
constexpr std::size_t kMostNotes = 16 * 1024;

/// Names that stand in paths and addresses as they are.
bool isPlain(const std::string &name, const char *others)
{
    const auto fits = [&](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || std::strchr(others, c);
    };
    return !name.empty() && name.size() <= 128 && name[0] != '.' && name.find('\0') == std::string::npos &&
           std::all_of(name.begin(), name.end(), fits);
}

bool isPlatform(const std::string &name)
{
    return isPlain(name, "-_");
}

bool isPackageName(const std::string &name)
{
    return isPlain(name, "-_.+");
}

/// Empty when the text is no version of one to six numbers.
std::vector<std::uint32_t> numbersOf(const std::string &version)
{
    std::vector<std::uint32_t> numbers;
    std::istringstream text(version);
    for (std::string part; std::getline(text, part, '.');) {
        if (part.empty() || part.size() > 9 || part.find_first_not_of("0123456789") != std::string::npos)
            return {};
        numbers.push_back(static_cast<std::uint32_t>(std::stoul(part)));
    }
    if (numbers.size() > 6 || version.empty() || version.back() == '.')
        return {};
    while (numbers.size() > 1 && numbers.back() == 0)
        numbers.pop_back();
    return numbers;
}

bool readFile(const std::string &path, std::string *text)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream all;
    all << file.rdbuf();
    *text = all.str();
    return file.is_open() && !file.bad();
}

/// Whoever reads meanwhile, or after a crash, finds the old file or the new one.
StoreResult writeFile(const std::string &path, const std::string &text, mode_t mode)
{
    const std::string partial = path + ".part";
    ::unlink(partial.c_str());
    const int fd = ::open(partial.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    bool good = fd >= 0 && ::write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    good = good && ::fsync(fd) == 0;
    if (fd >= 0)
        good = ::close(fd) == 0 && good;
    if (good && ::rename(partial.c_str(), path.c_str()) == 0)
        return {};
    return {false, "Cannot write " + path + ": " + std::strerror(errno) + "."};
}

/// Copies and counts at once, so that the manifest tells of the bytes that lie in the store.
StoreResult copyPackage(const std::string &from, const std::string &to, std::string *digest, std::uint64_t *size)
{
    std::ifstream source(from, std::ios::binary);
    if (!source.is_open())
        return {false, "Cannot read " + from + ": " + std::strerror(errno) + "."};
    const std::string partial = to + ".part";
    std::ofstream target(partial, std::ios::binary | std::ios::trunc);
    crypto_hash_sha256_state state;
    crypto_hash_sha256_init(&state);
    std::vector<char> block(kBlock);
    *size = 0;
    while (source && target) {
        source.read(block.data(), static_cast<std::streamsize>(block.size()));
        const auto got = static_cast<std::size_t>(source.gcount());
        target.write(block.data(), static_cast<std::streamsize>(got));
        crypto_hash_sha256_update(&state, reinterpret_cast<const unsigned char *>(block.data()), got);
        *size += got;
    }
    target.close();
    if (source.bad() || !target || *size == 0 || ::rename(partial.c_str(), to.c_str()) != 0) {
        const std::string why = *size == 0 && !source.bad() ? "it is empty" : std::strerror(errno);
        ::unlink(partial.c_str());
        return {false, "Cannot copy " + from + ": " + why + "."};
    }
    unsigned char sum[crypto_hash_sha256_BYTES];
    crypto_hash_sha256_final(&state, sum);
    char text[2 * sizeof sum + 1];
    *digest = sodium_bin2hex(text, sizeof text, sum, sizeof sum);
    return {};
}

/// What the manifest on offer says; an empty object when there is none that can be read.
json offered(const std::optional<std::string> &envelope)
{
    const json outer = json::parse(envelope.value_or("{}"), nullptr, false);
    const auto text = outer.is_object() ? outer.find("manifest") : outer.end();
    if (!outer.is_object() || text == outer.end() || !text->is_string())
        return json::object();
    const json inner = json::parse(fromBase64(text->get<std::string>()), nullptr, false);
    return inner.is_object() ? inner : json::object();
}

} // namespace

UpdateStore::UpdateStore(std::string folder)
    : m_folder(std::move(folder))
{
}

StoreResult UpdateStore::signingKey(const std::string &file, std::string *key) const
{
    std::string text;
    if (readFile(file, &text)) {
        *key = fromBase64(text);
        return publicKeyOf(*key).empty() ? StoreResult{false, "The file " + file + " holds no signing key."}
                                         : StoreResult{};
    }
    if (errno != ENOENT)
        return {false, "Cannot read " + file + ": " + std::strerror(errno) + "."};
    std::error_code failure;
    fs::create_directories(fs::path(file).parent_path(), failure);
    *key = newSigningKey();
    return writeFile(file, base64(*key) + '\n', 0600);
}

StoreResult UpdateStore::publish(const Publication &publication, const std::string &signingKey) const
{
    const std::string name = fs::path(publication.file).filename().string();
    const auto numbers = numbersOf(publication.version);
    if (numbers.empty())
        return {false, "\"" + publication.version + "\" is no version; write numbers with dots such as 1.4.2."};
    if (!isPlatform(publication.platform))
        return {false, "\"" + publication.platform + "\" is no platform; write one such as linux-x86_64."};
    if (!isPackageName(name))
        return {false, "A package's name has only ASCII letters, digits and \"-_.+\"."};
    if (publication.notes.size() > kMostNotes)
        return {false, "The notes are longer than 16 KiB."};
    const json before = offered(manifest(publication.platform));
    if (numbersOf(before.value("version", "")) >= numbers)
        return {false, "Version " + before.value("version", "") + " is on offer already; a newer one is needed."};

    const std::string folder = m_folder + '/' + publication.platform + '/' + publication.version;
    std::error_code failure;
    fs::create_directories(folder, failure);
    if (failure)
        return {false, "Cannot make " + folder + ": " + failure.message() + "."};
    std::string digest;
    std::uint64_t size = 0;
    if (StoreResult copied = copyPackage(publication.file, folder + '/' + name, &digest, &size); !copied)
        return copied;
    const json told = {
        {"product", kProduct},
        {"version", publication.version},
        {"platform", publication.platform},
        {"package", "packages/" + publication.platform + '/' + publication.version + '/' + name},
        {"name", name},
        {"size", size},
        {"sha256", digest},
        {"notes", publication.notes},
        // Grows with every publication, whatever the clock does: that is how clients know an old manifest.
        {"issued", std::max(nowMs(), before.value("issued", std::int64_t(0)) + 1)},
    };
    const std::string text = told.dump(-1, ' ', false, json::error_handler_t::replace);
    const json envelope = {{"manifest", base64(text)}, {"signature", base64(signature(signingKey, text))}};
    return writeFile(m_folder + '/' + publication.platform + "/manifest.json", envelope.dump(), 0600);
}

std::optional<std::string> UpdateStore::manifest(const std::string &platform) const
{
    std::string text;
    if (!isPlatform(platform) || !readFile(m_folder + '/' + platform + "/manifest.json", &text))
        return std::nullopt;
    return text;
}

std::optional<UpdateStore::Package> UpdateStore::package(const std::string &platform, const std::string &version,
                                                         const std::string &name) const
{
    if (!isPlatform(platform) || numbersOf(version).empty() || !isPackageName(name))
        return std::nullopt;
    Package found;
    const std::string path = m_folder + '/' + platform + '/' + version + '/' + name;
    found.fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    struct stat status = {};
    if (found.fd < 0)
        return std::nullopt;
    if (::fstat(found.fd, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(found.fd);
        return std::nullopt;
    }
    found.size = static_cast<std::uint64_t>(status.st_size);
    return found;
}

} // namespace arkvale::service
