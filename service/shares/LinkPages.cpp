#include "LinkPages.h"

#include "Drive.h"
#include "Secrets.h"
#include "ShareRoutes.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace arkvale::service {

namespace {

using nlohmann::json;

constexpr std::int64_t kUnlockedMs = 60 * 60 * 1000;
constexpr std::size_t kMostRows = 2000;
constexpr char kCookieName[] = "arkvale_share";

/// The page's few words. Who asks in Chinese is answered in Chinese.
struct Words
{
    const char *language;
    const char *gone;
    const char *locked;
    const char *password;
    const char *open;
    const char *wrong;
    const char *tooMany;
    const char *download;
    const char *sharedBy;
    const char *more;
    const char *empty;
};

const Words &wordsFor(const Request &request)
{
    static const Words english = {"en",
                                  "This share does not exist, or it has ended.",
                                  "This share has a password.",
                                  "Password",
                                  "Open",
                                  "That is not the password.",
                                  "Too many attempts. Please come back later.",
                                  "Download",
                                  "Shared by",
                                  "More is in this folder than this page shows.",
                                  "This folder is empty."};
    static const Words simplified = {"zh-CN",
                                     "该分享不存在或已结束。",
                                     "此分享需要密码。",
                                     "密码",
                                     "打开",
                                     "密码不正确。",
                                     "尝试次数过多，请稍后再试。",
                                     "下载",
                                     "分享者",
                                     "此文件夹中还有更多内容未显示。",
                                     "此文件夹为空。"};
    static const Words traditional = {"zh-TW",
                                      "該分享不存在或已結束。",
                                      "此分享需要密碼。",
                                      "密碼",
                                      "開啟",
                                      "密碼不正確。",
                                      "嘗試次數過多，請稍後再試。",
                                      "下載",
                                      "分享者",
                                      "此資料夾中還有更多內容未顯示。",
                                      "此資料夾為空。"};
    // Browsers name the languages that somebody reads in the order of liking; the first that is spoken here counts.
    std::istringstream wanted(request.header("accept-language"));
    for (std::string tag; std::getline(wanted, tag, ',');) {
        tag = tag.substr(std::min(tag.find_first_not_of(' '), tag.size()));
        tag = tag.substr(0, tag.find(';'));
        std::transform(tag.begin(), tag.end(), tag.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; });
        const auto names = [&tag](const char *part) { return (tag + '-').find(part) != std::string::npos; };
        if (tag.compare(0, 2, "en") == 0)
            return english;
        if (tag.compare(0, 2, "zh") == 0)
            return names("-hant-") || names("-tw-") || names("-hk-") || names("-mo-") ? traditional : simplified;
    }
    return english;
}

std::string escaped(const std::string &text)
{
    std::string html;
    for (const char c : text) {
        switch (c) {
        case '&':
            html += "&amp;";
            break;
        case '<':
            html += "&lt;";
            break;
        case '>':
            html += "&gt;";
            break;
        case '"':
            html += "&quot;";
            break;
        case '\'':
            html += "&#39;";
            break;
        default:
            html += static_cast<unsigned char>(c) < 0x20 || c == 0x7f ? '?' : c;
        }
    }
    return html;
}

Response htmlPage(const Words &words, const std::string &title, const std::string &body, int status)
{
    const std::string html =
        std::string("<!DOCTYPE html><html lang=\"") + words.language +
        "\"><head><meta charset=\"utf-8\"><meta name=\"viewport\" content=\"width=device-width\"><title>" +
        escaped(title) +
        "</title><style>body{font:16px/1.5 system-ui,sans-serif;max-width:46rem;margin:3rem auto;padding:0 1rem;"
        "color:#22303a;background:#f6f8fa}main{background:#fff;border:1px solid "
        "#dde4ea;border-radius:8px;padding:1.5rem}"
        "h1{font-size:1.25rem;overflow-wrap:anywhere;margin:0 0 1rem}table{width:100%;border-collapse:collapse}"
        "td{border-top:1px solid #e8edf1;padding:.4rem .2rem;overflow-wrap:anywhere}td+td{text-align:right;"
        "white-space:nowrap;color:#64757f}a{color:#1d6fb8;text-decoration:none}input,button{font:inherit;padding:.4rem "
        ".8rem;border:1px solid "
        "#b9c6cf;border-radius:6px}button,.go{background:#1d6fb8;color:#fff;border-color:#1d6fb8;"
        "padding:.5rem 1rem;border-radius:6px}.no{color:#a23a2a}</style></head><body><main><h1>" +
        escaped(title) + "</h1>" + body + "</main></body></html>";
    Response response = Response::bytes(html, "text/html; charset=utf-8", status);
    response.setHeader("Content-Security-Policy", "default-src 'none'; style-src 'unsafe-inline'; form-action 'self'; "
                                                  "base-uri 'none'; frame-ancestors 'none'");
    response.setHeader("X-Content-Type-Options", "nosniff").setHeader("Referrer-Policy", "no-referrer");
    return response.setHeader("Cache-Control", "private, no-store");
}

Response sorry(const Words &words, const char *text, int status)
{
    return htmlPage(words, text, "", status);
}

Response passwordForm(const Request &request, const Words &words, const char *complaint, int status)
{
    const std::string body =
        std::string("<form method=\"post\" action=\"") + escaped(request.rawPath) + "\"><p><label>" + words.password +
        " <input type=\"password\" name=\"password\" maxlength=\"64\" autofocus></label> <button>" + words.open +
        "</button></p></form>" + (complaint ? std::string("<p class=\"no\">") + complaint + "</p>" : std::string());
    return htmlPage(words, words.locked, body, status);
}

std::string sizeText(std::uint64_t bytes)
{
    const char *const units[] = {"B", "KB", "MB", "GB", "TB"};
    double value = static_cast<double>(bytes);
    int unit = 0;
    for (; value >= 1024 && unit < 4; ++unit)
        value /= 1024;
    char text[32];
    std::snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", value, units[unit]);
    return text;
}

/// The value of a form field that a browser sent as "a=b&c=d".
std::string formValue(const std::string &body, const std::string &name)
{
    std::size_t from = 0;
    while (from <= body.size()) {
        const std::size_t end = std::min(body.find('&', from), body.size());
        std::string pair = body.substr(from, end - from);
        if (pair.compare(0, name.size() + 1, name + '=') == 0) {
            std::replace(pair.begin(), pair.end(), '+', ' ');
            return percentDecode(std::string_view(pair).substr(name.size() + 1)).value_or("");
        }
        from = end + 1;
    }
    return {};
}

std::string cookieOf(const Request &request)
{
    const std::string &all = request.header("cookie");
    const std::string begin = std::string(kCookieName) + '=';
    std::size_t from = all.find(begin);
    while (from != std::string::npos && from > 0 && all[from - 1] != ' ' && all[from - 1] != ';')
        from = all.find(begin, from + 1);
    if (from == std::string::npos)
        return {};
    from += begin.size();
    return all.substr(from, std::min(all.find(';', from), all.size()) - from);
}

std::string addressOf(const Request &request, const char *what, const std::string &path)
{
    std::string base = request.rawPath;
    if (base.size() > 5 && base.compare(base.size() - 5, 5, "/file") == 0)
        base.resize(base.size() - 5);
    return escaped(base + what + "?path=" + percentEncode(path));
}

std::string row(const Request &request, const std::string &name, const std::string &path, bool isFolder,
                std::uint64_t size)
{
    const std::string address = addressOf(request, isFolder ? "" : "/file", path);
    return "<tr><td><a href=\"" + address + "\">" + escaped(name) + (isFolder ? "/" : "") + "</a></td><td>" +
           (isFolder ? std::string() : sizeText(size)) + "</td></tr>";
}

} // namespace

LinkPages::LinkPages(ShareStore &shares, const SharedItems &items, std::string key)
    : m_shares(shares)
    , m_items(items)
    , m_key(std::move(key))
{
}

// The password is part of what is signed: whoever knew an old one has to know the new one.
std::string LinkPages::cookie(const Share &share, std::int64_t expires) const
{
    const std::string time = std::to_string(expires);
    return time + '.' + hmacSha256Hex(m_key, time + '\n' + share.id + '\n' + share.password);
}

bool LinkPages::isUnlocked(const Request &request, const Share &share) const
{
    if (share.kind == Share::PublicLink)
        return true;
    const std::string shown = cookieOf(request);
    const std::int64_t expires = std::strtoll(shown.c_str(), nullptr, 10);
    return expires > nowMs() && expires <= nowMs() + kUnlockedMs && sameSecret(shown, cookie(share, expires));
}

std::optional<Response> LinkPages::open(const Request &request, Share *share, SharedItem *item) const
{
    const Words &words = wordsFor(request);
    const auto found = m_shares.findByToken(request.param("token"));
    if (!found)
        return sorry(words, words.gone, 404);
    *share = *found;
    // Before anything of the item is told, even that it is gone.
    if (!isUnlocked(request, *share))
        return passwordForm(request, words, nullptr, 200);
    if (!m_items.open(*share, item).ok())
        return sorry(words, words.gone, 404);
    return std::nullopt;
}

Response LinkPages::page(const Request &request)
{
    const Words &words = wordsFor(request);
    Share share;
    SharedItem item;
    if (auto refusal = open(request, &share, &item))
        return std::move(*refusal);
    const std::string top = '/' + item.name;
    std::string path = request.queryValue("path");
    if (path.empty())
        path = top;
    if (path == "/" || !item.reaches(path))
        return sorry(words, words.gone, 404);
    std::string body = std::string("<p>") + words.sharedBy + ' ' + escaped(share.owner) + "</p>";
    if (!item.stat.isFolder()) {
        body += "<p>" + sizeText(item.stat.size) + "</p><p><a class=\"go\" href=\"" + addressOf(request, "/file", top) +
                "\">" + words.download + "</a></p>";
        return htmlPage(words, item.name, body, 200);
    }
    ContentTypes types;
    std::string listed;
    if (!Drive(item.parent, types).list(path, false, listed).ok())
        return sorry(words, words.gone, 404);
    std::vector<json> entries = json::parse(listed, nullptr, false).value("items", std::vector<json>());
    std::sort(entries.begin(), entries.end(), [](const json &a, const json &b) {
        const int kindA = a.value("type", 0);
        const int kindB = b.value("type", 0);
        return kindA != kindB ? kindA > kindB : a.value("name", "") < b.value("name", "");
    });
    body += "<table>";
    if (path != top)
        body += row(request, "..", path.substr(0, path.rfind('/')), true, 0);
    const std::string below = path + '/';
    for (std::size_t i = 0; i < entries.size() && i < kMostRows; ++i) {
        const json &entry = entries[i];
        const std::string name = entry.value("name", "");
        body += row(request, name, below + name, entry.value("type", 0) == 1, entry.value("size", std::uint64_t(0)));
    }
    body += "</table>";
    if (entries.empty())
        body += std::string("<p>") + words.empty + "</p>";
    if (entries.size() > kMostRows)
        body += std::string("<p>") + words.more + "</p>";
    return htmlPage(words, path.substr(path.rfind('/') + 1), body, 200);
}

Response LinkPages::file(const Request &request)
{
    const Words &words = wordsFor(request);
    Share share;
    SharedItem item;
    if (auto refusal = open(request, &share, &item))
        return std::move(*refusal);
    const std::string &path = request.queryValue("path");
    if (path == "/" || !item.reaches(path))
        return sorry(words, words.gone, 404);
    Response response = sharedFile(request, item, path, true);
    const bool shown = response.status() < 400 || response.status() == 416;
    if (!shown)
        return sorry(words, words.gone, 404);
    return response.onlyWhile(Permission([this, share] { return m_items.mayGoOn(share); }));
}

Response LinkPages::unlock(const Request &request)
{
    const Words &words = wordsFor(request);
    const auto share = m_shares.findByToken(request.param("token"));
    if (!share || share->kind != Share::PasswordLink)
        return sorry(words, words.gone, 404);
    const std::string key = "share " + share->id;
    const auto pause = m_throttle.attempt(key, request.peer, nowMs());
    if (!pause)
        return sorry(words, words.tooMany, 429).setHeader("Retry-After", "900");
    if (!sameSecret(sha256Hex(formValue(request.body, "password")), sha256Hex(share->password))) {
        const auto answer = [request, &words] { return passwordForm(request, words, words.wrong, 403); };
        return *pause == 0 ? answer() : Response::after(*pause, answer);
    }
    m_throttle.succeeded(key, request.peer);
    Response response(303);
    response.setHeader("Location", request.rawPath);
    return response.setHeader("Set-Cookie", std::string(kCookieName) + '=' + cookie(*share, nowMs() + kUnlockedMs) +
                                                "; Path=" + request.rawPath + "; Max-Age=3600; HttpOnly; SameSite=Lax" +
                                                (request.tls ? "; Secure" : ""));
}

void LinkPages::registerRoutes(Router &router, std::shared_ptr<LinkPages> pages)
{
    router.add(
        "GET", "/s/{token}", [pages](const Request &request) { return pages->page(request); }, Access::Open);
    router.add(
        "POST", "/s/{token}", [pages](const Request &request) { return pages->unlock(request); }, Access::Open);
    router.add(
        "GET", "/s/{token}/file", [pages](const Request &request) { return pages->file(request); }, Access::Open);
}

} // namespace arkvale::service
