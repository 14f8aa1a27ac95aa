#include "TestSupport.h"

#include "JsonBody.h"
#include "Request.h"
#include "Router.h"

using namespace arkvale::service;

/// What becomes of request targets, routes and JSON bodies before a handler sees them.
class TestRequests : public StrictTest
{
    Q_OBJECT

private slots:
    void targets_data();
    void targets();
    void numbers_data();
    void numbers();
    void encoding();
    void routes_data();
    void routes();
    void jsonBodies_data();
    void jsonBodies();
};

void TestRequests::targets_data()
{
    QTest::addColumn<QByteArray>("target");
    QTest::addColumn<bool>("good");
    QTest::addColumn<QByteArrayList>("segments");
    QTest::addColumn<QByteArray>("value"); // of the query key "p"

    const auto good = [](const char *name, const QByteArray &target, const QByteArrayList &segments,
                         const QByteArray &value = {}) { QTest::newRow(name) << target << true << segments << value; };
    const auto bad = [](const char *name, const QByteArray &target) {
        QTest::newRow(name) << target << false << QByteArrayList() << QByteArray();
    };
    good("plain", "/api/v1/a/b", {"a", "b"});
    good("decoded after the split", "/api/v1/a%2Fb/c%20d", {"a/b", "c d"});
    good("utf-8", "/api/v1/%E4%B8%AD?p=%F0%9F%8E%AC", {"\xE4\xB8\xAD"}, "\xF0\x9F\x8E\xAC");
    good("plus is plus", "/api/v1/a?p=1+1", {"a"}, "1+1");
    good("equals in a value", "/api/v1/a?p=x=y", {"a"}, "x=y");
    good("first value counts", "/api/v1/a?p=1&p=2", {"a"}, "1");
    good("empty pairs", "/api/v1/a?&&p=1&", {"a"}, "1");
    good("dots are names here", "/api/v1/../x", {"..", "x"});
    bad("outside the base", "/api/v2/a");
    bad("longer than the base", "/api/v1x/a");
    bad("the base alone", "/api/v1");
    bad("nothing below the base", "/api/v1/");
    bad("empty name", "/api/v1/a//b");
    bad("cut escape", "/api/v1/a%2");
    bad("zero byte", "/api/v1/a%00b");
    bad("zero byte in the query", "/api/v1/a?p=%00");
    bad("overlong slash", "/api/v1/%C0%AF");
    bad("surrogate", "/api/v1/%ED%A0%80");
    bad("beyond Unicode", "/api/v1/%F5%80%80%80");
    bad("lone continuation", "/api/v1/a?p=%80");
}

void TestRequests::targets()
{
    QFETCH(QByteArray, target);
    QFETCH(bool, good);
    QFETCH(QByteArrayList, segments);
    QFETCH(QByteArray, value);

    Request request;
    QCOMPARE(parseTarget(target.toStdString(), "/api/v1", request), good);
    if (!good)
        return;
    QByteArrayList found;
    for (const std::string &segment : request.segments)
        found << QByteArray::fromStdString(segment);
    QCOMPARE(found, segments);
    QCOMPARE(QByteArray::fromStdString(request.queryValue("p")), value);
}

void TestRequests::numbers_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("number"); // -1: the fallback

    QTest::newRow("least") << QByteArray("1") << 1;
    QTest::newRow("most") << QByteArray("30") << 30;
    QTest::newRow("below") << QByteArray("0") << -1;
    QTest::newRow("above") << QByteArray("31") << -1;
    QTest::newRow("too long") << QByteArray("99999999999999999999") << -1;
    QTest::newRow("text after") << QByteArray("5s") << -1;
}

void TestRequests::numbers()
{
    QFETCH(QByteArray, text);
    QFETCH(int, number);
    Request request;
    request.query["n"] = text.toStdString();
    QCOMPARE(request.queryNumber("n", 1, 30, -1), std::int64_t(number));
}

void TestRequests::encoding()
{
    std::string all;
    for (int c = 1; c < 0x80; ++c)
        all += static_cast<char>(c);
    all += "\xE4\xB8\xAD\xF0\x9F\x8E\xAC";
    const std::string encoded = percentEncode(all);
    QVERIFY(encoded.find_first_of("/?#&=+ \"") == std::string::npos);
    QCOMPARE(percentDecode(encoded).value_or(""), all);
}

void TestRequests::routes_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("found"); // handler and its parameters; empty: none
    QTest::addColumn<QByteArray>("allowed");

    const auto row = [](const char *name, const char *method, const char *path, const char *found,
                        const char *allowed = "") {
        QTest::newRow(name) << QByteArray(method) << QByteArray(path) << QByteArray(found) << QByteArray(allowed);
    };
    row("fixed", "GET", "limits", "limits");
    row("encoded slash stays one name", "GET", "sc/a%2Fb/files/list", "list id=a/b");
    row("rest of three", "GET", "icons/a/b/x.png", "icon name=a/b/x.png");
    row("rest of none", "GET", "icons", "");
    row("head finds get", "HEAD", "limits", "limits");
    row("two methods, second", "POST", "both", "write");
    row("wrong method", "POST", "limits", "", "GET, HEAD");
    row("wrong of two", "DELETE", "both", "", "GET, HEAD, POST");
    row("too short", "GET", "sc/2/files", "");
    row("too long", "GET", "limits/x", "");
    row("method's case matters", "get", "limits", "", "GET, HEAD");
}

void TestRequests::routes()
{
    QFETCH(QByteArray, method);
    QFETCH(QByteArray, path);
    QFETCH(QByteArray, found);
    QFETCH(QByteArray, allowed);

    Router router;
    const auto add = [&](const char *m, const char *pattern, const std::string &name) {
        router.add(m, pattern, [name](const Request &request) {
            std::string text = name;
            for (const auto &[key, value] : request.params)
                text += ' ' + key + '=' + value;
            return Response::bytes(text, "text/plain");
        });
    };
    add("GET", "/limits", "limits");
    add("GET", "/sc/{id}/files/list", "list");
    add("GET", "/icons/{name*}", "icon");
    add("GET", "/both", "read");
    add("POST", "/both", "write");

    Request request;
    request.method = method.toStdString();
    QVERIFY(parseTarget("/b/" + path.toStdString(), "/b", request));
    const Router::Match match = router.find(request);
    QCOMPARE(match.handler != nullptr, !found.isEmpty());
    if (match.handler)
        QCOMPARE(QByteArray::fromStdString((*match.handler)(request).body()), found);
    QCOMPARE(QByteArray::fromStdString(match.allowed), allowed);
}

void TestRequests::jsonBodies_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("object");
    QTest::addColumn<QByteArray>("text"); // under "t"; "-" when there is none
    QTest::addColumn<int>("list");        // entries of the texts under "l"; -1 when there are none

    const auto nested = [](int depth) {
        return "{\"x\":" + QByteArray(depth - 1, '[') + QByteArray(depth - 1, ']') + "}";
    };
    const QByteArray none("-");
    QTest::newRow("both") << QByteArray(R"({"t":"a","l":["x","y"]})") << true << QByteArray("a") << 2;
    QTest::newRow("escapes") << QByteArray(R"({"t":"\u4e2d\""})") << true << QByteArray("\xE4\xB8\xAD\"") << -1;
    QTest::newRow("wrong types") << QByteArray(R"({"t":1,"l":"x"})") << true << none << -1;
    QTest::newRow("mixed list") << QByteArray(R"({"l":["x",1]})") << true << none << -1;
    QTest::newRow("empty") << QByteArray() << false << none << -1;
    QTest::newRow("cut") << QByteArray(R"({"t":"a")") << false << none << -1;
    QTest::newRow("text after") << QByteArray("{} x") << false << none << -1;
    QTest::newRow("not utf-8") << QByteArray("{\"t\":\"\xFF\"}") << false << none << -1;
    QTest::newRow("deepest") << nested(maxJsonDepth) << true << none << -1;
    QTest::newRow("too deep") << nested(maxJsonDepth + 1) << false << none << -1;
    QTest::newRow("endless") << QByteArray(4000000, '[') << false << none << -1;
    QTest::newRow("brackets in a text") << QByteArray("{\"t\":\"" + QByteArray(100, '[') + "\"}") << true
                                        << QByteArray(100, '[') << -1;
    QTest::newRow("quote hidden in a text") << QByteArray(R"({"t":"\"[[[["})") << true << QByteArray("\"[[[[") << -1;
}

void TestRequests::jsonBodies()
{
    QFETCH(QByteArray, body);
    QFETCH(bool, object);
    QFETCH(QByteArray, text);
    QFETCH(int, list);

    const auto parsed = parseJsonObject(body.toStdString());
    QCOMPARE(parsed.has_value(), object);
    if (!parsed)
        return;
    QCOMPARE(QByteArray::fromStdString(jsonText(*parsed, "t").value_or("-")), text);
    const auto texts = jsonTexts(*parsed, "l");
    QCOMPARE(texts ? int(texts->size()) : -1, list);
}

ARKVALE_GUILESS_TEST(TestRequests)
#include "tst_service_requests.moc"
