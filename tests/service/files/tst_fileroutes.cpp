#include "DriveFixture.h"
#include "FileRoutes.h"
#include "Response.h"

#include <nlohmann/json.hpp>

#include <future>

using namespace arkvale::service;

/// The routes as the server calls them, without a network.
class TestFileRoutes : public DriveTest
{
    Q_OBJECT

private slots:
    void init()
    {
        begin();
        m_home.storeroom.reset(); // The routes open their own.
        m_router = std::make_unique<Router>();
        m_routes = registerFileRoutes(*m_router, *m_context, {});
    }
    void cleanup()
    {
        m_routes.reset();
        m_router.reset();
        end();
    }

    void everyRouteIsSigned()
    {
        for (const char *route : {"GET list", "GET info", "GET search", "GET thumbnail", "GET preview", "POST mkdir",
                                  "POST remove-files", "POST remove-folders", "POST move", "POST rename-file",
                                  "POST rename-folder", "POST copy", "POST compress", "POST decompress"}) {
            const QByteArrayList parts = QByteArray(route).split(' ');
            Request request;
            request.method = parts.first().toStdString();
            QVERIFY(parseTarget("/api/sc/1/files/" + parts.last().toStdString(), "/api", request));
            const Router::Match match = m_router->find(request);
            QVERIFY2(match.handler && match.access == Access::Session, route);
        }
    }

    void operations()
    {
        QCOMPARE(ask("POST", "/sc/1/files/mkdir", {{"path", "/a b"}}).status(), 200);
        put("a b/f.txt", "text");
        Response response = ask("GET", "/sc/1/files/list?path=%2Fa%20b&mode=2");
        QCOMPARE(response.status(), 200);
        QCOMPARE(namesOf(response.body()), QStringList("f.txt"));
        response = ask("GET", "/sc/1/files/info?path=/a%20b/f.txt");
        QCOMPARE(body(response).value("size").toInt(), 4);
        response = ask("GET", "/sc/1/files/search?keyword=F.T&path=/");
        QCOMPARE(namesOf(response.body()), QStringList("f.txt"));
        QCOMPARE(ask("POST", "/sc/1/files/rename-file", {{"src", "/a b/f.txt"}, {"dest", "/a b/g"}}).status(), 200);
        QCOMPARE(ask("POST", "/sc/1/files/rename-folder", {{"src", "/a b"}, {"dest", "/c"}}).status(), 200);
        QCOMPARE(ask("POST", "/sc/1/files/move", {{"src", {"/c/g"}}, {"dest", "/"}}).status(), 200);
        QCOMPARE(ask("POST", "/sc/1/files/remove-files", {{"paths", {"/g"}}}).status(), 200);
        QCOMPARE(ask("POST", "/sc/1/files/remove-folders", {{"paths", {"/c"}}}).status(), 200);
        QVERIFY(tree().isEmpty());
    }

    void errors_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("status");
        QTest::newRow("no JSON") << "mkdir" << QByteArray("path") << 400;
        QTest::newRow("path is a number") << "mkdir" << QByteArray("{\"path\":1}") << 400;
        QTest::newRow("zero byte") << "mkdir" << QByteArray("{\"path\":\"/f\\u0000g\"}") << 400;
        QTest::newRow("numbers among the paths") << "remove-files" << QByteArray("{\"paths\":[\"/f\",1]}") << 400;
        QTest::newRow("no target") << "move" << QByteArray("{\"src\":[\"/f\"]}") << 400;
        QTest::newRow("source is a list") << "rename-file" << QByteArray("{\"src\":[\"/f\"],\"dest\":\"/g\"}") << 400;
        QTest::newRow("source is a text") << "copy" << QByteArray("{\"src\":\"/f\",\"dest\":\"/\"}") << 400;
        QTest::newRow("compress nothing") << "compress" << QByteArray("{\"src\":[],\"dest\":\"/x\"}") << 400;
    }

    void errors()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, body);
        put("f", "f");
        put("d/x", "x");
        const auto before = tree();
        Request request;
        request.method = "POST";
        QVERIFY(parseTarget("/api/sc/1/files/" + name.toStdString(), "/api", request));
        request.body = body.toStdString();
        request.user = "alice";
        const Router::Match match = m_router->find(request);
        QVERIFY(match.handler);
        const Response response = (*match.handler)(request);
        QTEST(response.status(), "status");
        QVERIFY(!parsed(response.body()).value("error").toString().isEmpty());
        QVERIFY(!parsed(response.body()).value("message").toString().isEmpty());
        QCOMPARE(tree(), before);
    }

    void previews()
    {
        put("movie.html", "0123456789");
        const std::string path = "/sc/1/files/preview?path=/movie.html";
        Response response = ask("GET", path);
        QCOMPARE(response.status(), 200);
        QCOMPARE(bytes(response), QByteArray("0123456789"));
        QCOMPARE(header(response, "X-Content-Type-Options"), std::string("nosniff"));
        const std::string tag = header(response, "ETag");
        response = ask("GET", path, {}, {{"range", "bytes=2-4"}, {"if-range", tag}});
        QCOMPARE(response.status(), 206);
        QCOMPARE(bytes(response), QByteArray("234"));
        QCOMPARE(header(response, "Content-Range"), std::string("bytes 2-4/10"));
        response = ask("GET", path, {}, {{"range", "bytes=10-"}});
        QCOMPARE(response.status(), 416);
        QCOMPARE(header(response, "Content-Range"), std::string("bytes */10"));
        put("movie.html", "changed, and longer");
        response = ask("GET", path, {}, {{"range", "bytes=2-4"}, {"if-range", tag}});
        QCOMPARE(response.status(), 200);
        QCOMPARE(bytes(response), QByteArray("changed, and longer"));
        QCOMPARE(ask("GET", "/sc/1/files/preview?path=/").status(), 409);
        QCOMPARE(ask("GET", "/sc/1/files/preview?path=/../bob/secret").status(), 400);
        QCOMPARE(ask("GET", "/sc/1/files/preview").status(), 400);
    }

    void jobs()
    {
        put("s/f", "text");
        const Response copy = ask("POST", "/sc/1/files/copy", {{"src", {"/s"}}, {"dest", "/"}});
        QCOMPARE(copy.status(), 202);
        QCOMPARE(finished(copy).value("state").toString(), QString("done"));
        QCOMPARE(finished(copy).value("status").toInt(), 200);
        QCOMPARE(get("s (2)/f"), QByteArray("text"));
        const std::string id = body(copy).value("job").toString().toStdString();
        QCOMPARE(ask("GET", "/sc/1/jobs/" + id, {}, {}, "bob").status(), 404);
        QCOMPARE(ask("GET", "/sc/1/jobs/none?wait=20").status(), 404);

        QJsonObject state = finished(ask("POST", "/sc/1/files/compress", {{"src", {"/s"}}, {"dest", "/z"}}));
        QCOMPARE(state.value("state").toString(), QString("done"));
        state = finished(ask("POST", "/sc/1/files/decompress", {{"src", "/z.zip"}, {"dest", "/out"}}));
        QCOMPARE(state.value("state").toString(), QString("done"));
        QCOMPARE(get("out/s/f"), QByteArray("text"));
        state = finished(ask("POST", "/sc/1/files/decompress", {{"src", "/s/f"}, {"dest", "/out2"}}));
        QCOMPARE(state.value("state").toString(), QString("failed"));
        QCOMPARE(state.value("status").toInt(), 422);
        QVERIFY(!state.value("message").toString().isEmpty());
        m_routes->stop();
        QCOMPARE(ask("POST", "/sc/1/files/copy", {{"src", {"/s"}}, {"dest", "/"}}).status(), 429);
    }

    void noHome()
    {
        const Response response = ask("GET", "/sc/1/files/list?path=/", {}, {}, "carol");
        QCOMPARE(response.status(), 404);
        QCOMPARE(ask("GET", "/sc/9/files/list?path=/").status(), 404);
        QVERIFY(QDir().rename(QString::fromStdString(m_root) + "/alice", QString::fromStdString(m_root) + "/gone"));
        QCOMPARE(ask("GET", "/sc/1/files/list?path=/").status(), 503);
    }

private:
    Response ask(const std::string &method, const std::string &path, const nlohmann::json &body = {},
                 std::map<std::string, std::string> headers = {}, const std::string &user = "alice")
    {
        Request request;
        request.method = method;
        if (!parseTarget("/api" + path, "/api", request))
            return Response(599);
        request.body = body.is_null() ? std::string() : body.dump();
        request.headers = std::move(headers);
        request.user = user;
        const Router::Match match = m_router->find(request);
        return match.handler ? (*match.handler)(request) : Response(598);
    }
    static QJsonObject body(const Response &response) { return parsed(response.body()); }
    static std::string header(const Response &response, const std::string &name)
    {
        for (const auto &field : response.headers()) {
            if (field.first == name)
                return field.second;
        }
        return {};
    }
    static QByteArray bytes(const Response &response)
    {
        QByteArray all(int(response.length()), 0);
        if (response.bodyProvider() && response.bodyProvider()(0, all.data(), std::size_t(all.size())) != all.size())
            return "(short)";
        return all;
    }
    /// The state of the job in an answer, once it has ended.
    QJsonObject finished(const Response &started)
    {
        const std::string path = "/sc/1/jobs/" + body(started).value("job").toString().toStdString() + "?wait=20";
        Response response = ask("GET", path);
        if (!response.pending())
            return body(response);
        const auto done = std::make_shared<std::promise<Response>>();
        auto answer = done->get_future();
        response.pending()->whenComplete([done](Response late) { done->set_value(std::move(late)); });
        if (answer.wait_for(std::chrono::seconds(20)) != std::future_status::ready)
            return {};
        return body(answer.get());
    }

    std::unique_ptr<Router> m_router;
    std::shared_ptr<FileRoutes> m_routes;
};

ARKVALE_GUILESS_TEST(TestFileRoutes)
#include "tst_fileroutes.moc"
