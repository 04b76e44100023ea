// The page's server: who may do what, and what it tells and does.
#include "support/application.h"
#include "support/connection.h"

#include <atomic>
#include <future>
#include <list>

#include <httplib.h>
#include <kdl/frames.hpp>
#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::json;

// Listens to the stream of a page for as long as the listener, who gets the kind of each event and its data, returns true.
void listen(int port, const std::function<bool(const std::string&, const Json&)>& goes_on)
{
    httplib::Client client("127.0.0.1", port);
    client.set_read_timeout(20);
    std::string text;
    client.Get("/events", [&](const char* bytes, std::size_t length) {
        text.append(bytes, length);
        for (std::size_t end; (end = text.find("\n\n")) != text.npos; text.erase(0, end + 2)) {
            const std::size_t line = text.find('\n'); // event: KIND, data: JSON
            if (!goes_on(text.substr(7, line - 7), Json::parse(text.substr(line + 7, end - line - 7))))
                return false;
        }
        return true;
    });
}

using Wanted = std::function<bool(const Json&)>;

// The first event of a kind that is as wanted.
Json first_of(int port, const std::string& kind, const Wanted& wanted = {})
{
    Json found;
    listen(port, [&](const std::string& told, const Json& data) {
        if (told == kind && (!wanted || wanted(data))) found = data;
        return found.is_null();
    });
    EXPECT_FALSE(found.is_null()) << "no such event: " << kind;
    return found;
}

Wanted shows(const char* key, const Json& value)
{
    return [=](const Json& state) { return state[key] == value; };
}

Wanted stands(const std::vector<double>& joints)
{
    return [=](const Json& state) {
        return std::ranges::equal(joints, state["joints"], [](double a, const Json& b) {
            return std::abs(a - b.get<double>()) < 1e-3;
        });
    };
}

KDL::Frame frame_of(const Json& pose)
{
    return {KDL::Rotation::RPY(pose[3], pose[4], pose[5]), {pose[0], pose[1], pose[2]}};
}

struct Page : testing::Test {
    Application app{46, {"--web", "0"}};
    const int port = app.controller->page();
    const std::string host = "127.0.0.1:" + std::to_string(port);
    const std::string token = first_of(port, "about")["token"];

    Json state(const Wanted& wanted = {}) const { return first_of(port, "state", wanted); }

    // Asks for something, and tells why it was refused, or nothing.
    std::string act(const Json& request) const
    {
        const auto result = httplib::Client("127.0.0.1", port)
                                .Post("/act", {{"Origin", "http://" + host}, {"X-Token", token}},
                                      request.dump(), "application/json");
        EXPECT_TRUE(result && (result->status == 204 || result->status == 409)) << request;
        return result ? result->body : "no answer";
    }

    // What a page holds it confirms, here until a state is as wanted.
    Json hold_until(Json request, const Wanted& wanted) const
    {
        request["page"] = "a", request["hold"] = 1;
        auto seen = std::async(std::launch::async, [&] { return state(wanted); });
        EXPECT_EQ(act(request), "");
        while (seen.wait_for(std::chrono::milliseconds(50)) != std::future_status::ready)
            act({{"act", "confirm"}, {"page", "a"}, {"hold", 1}});
        return seen.get();
    }

    // Has the arm go somewhere, and gives its state there.
    Json go(const std::vector<double>& joints) const
    {
        EXPECT_EQ(act({{"act", "go"}, {"joints", joints}, {"percent", 100}}), "");
        return state([=](const Json& now) { return now["mode"] == "ready" && stands(joints)(now); });
    }
};

TEST_F(Page, ObeysNobodyButItself)
{
    const std::string other(token.size(), '0'), own = "http://" + host;
    const struct {
        const char *method, *path;
        httplib::Headers headers;
        int status;
    } rows[] = {
        {"GET", "/", {}, 200},
        {"GET", "/main.js", {}, 200},
        {"GET", "/", {{"Host", "localhost" + host.substr(host.find(':'))}}, 200},
        // a name that somebody else may resolve
        {"GET", "/", {{"Host", "example.org" + host.substr(host.find(':'))}}, 403},
        {"GET", "/events", {{"Host", "127.0.0.1.example.org"}}, 403},
        {"GET", "/", {{"Host", ""}}, 403},
        {"GET", "/web.cpp", {}, 404},
        {"GET", "/../CMakeLists.txt", {}, 404},
        {"GET", "/%2e%2e/%2e%2e/etc/passwd", {}, 404},
        {"GET", "/act", {}, 404},
        {"POST", "/act", {}, 403},
        {"POST", "/act", {{"Origin", own}}, 403},
        {"POST", "/act", {{"X-Token", token}}, 403},
        {"POST", "/act", {{"Origin", own}, {"X-Token", other}}, 403},
        {"POST", "/act", {{"Origin", "null"}, {"X-Token", token}}, 403},
        {"POST", "/act", {{"Origin", "http://example.org"}, {"X-Token", token}}, 403},
        {"POST", "/act", {{"Origin", "http://b.org"}, {"Host", "b.org"}, {"X-Token", token}}, 403},
        {"POST", "/act", {{"Origin", own}, {"X-Token", token}}, 204},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.method) + " " + row.path + " expecting " + std::to_string(row.status));
        httplib::Request request;
        request.method = row.method;
        request.path = row.path;
        request.headers = row.headers;
        if (request.method == "POST") request.body = R"({"act": "stop"})";
        const auto result = httplib::Client("127.0.0.1", port).send(request);
        ASSERT_TRUE(result) << to_string(result.error());
        EXPECT_EQ(result->status, row.status);
        EXPECT_TRUE(result->get_header_value("Content-Security-Policy")
                        .starts_with("default-src 'none'; script-src 'self'"));
    }
    EXPECT_FALSE(httplib::Client("127.0.0.2", port).Get("/")) << "listens elsewhere";
}

TEST_F(Page, BoundsWhatItTakes)
{
    const std::string act = "POST /act HTTP/1.1\r\nHost: " + host + "\r\nOrigin: http://" + host +
                            "\r\nX-Token: " + token + "\r\n";
    const std::string stop = R"({"act":"stop"})", much(8 << 20, 'x');
    std::string headers;
    while (headers.size() < much.size())
        headers += "X-" + std::to_string(headers.size()) + ": x\r\n";
    const struct {
        const char* name;
        std::string sent;
        const char* status;
    } rows[] = {
        {"as much as it said", act + "Content-Length: 14\r\n\r\n" + stop, "204"},
        {"in chunks", act + "Transfer-Encoding: chunked\r\n\r\n800000\r\n" + much, "411"},
        {"too much", act + "Content-Length: 4097\r\n\r\n" + stop, "413"},
        {"much too much", act + "Content-Length: 99999999999999999999999\r\n\r\n", "413"},
        {"less than nothing", act + "Content-Length: -1\r\n\r\n", "400"},
        {"two lengths", act + "Content-Length: 14\r\nContent-Length: 0\r\n\r\n" + stop, "400"},
        {"many headers", act + headers, "431"},
        {"a long line", "GET /" + much, "431"},
        {"no HTTP", "movej\r\n\r\n", "400"},
        {"a header over two lines", act + "X: a\r\n b\r\n\r\n", "400"},
        {"a zero byte", "GET / HTTP/1.1\r\nHost: 127.0.0.1" + std::string(1, '\0') + ".org\r\n\r\n", "400"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Connection client(port);
        std::thread sender([&] { client.send(row.sent); });
        EXPECT_EQ(client.line().substr(0, 12), std::string("HTTP/1.1 ") + row.status);
        client.rest();
        sender.join();
    }
}

TEST_F(Page, IsReachedWhateverSlowClientsDo)
{
    std::list<Connection> slow, deaf;
    for (int i = 0; i < 200; ++i)
        slow.emplace_back(port).send("GET / HTTP/1.1\r\nX: ");
    for (int i = 0; i < 50; ++i)
        deaf.emplace_back(port).send("GET /three/build/three.module.js HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    std::atomic<bool> done = false;
    std::thread dripping([&] {
        for (; !done; std::this_thread::sleep_for(std::chrono::milliseconds(200)))
            for (Connection& client : slow)
                client.send("x");
    });
    EXPECT_EQ(state()["mode"], "ready");
    done = true;
    dripping.join();
}

TEST_F(Page, ActsOnTheController)
{
    EXPECT_EQ(act({{"act", "input"}, {"kind", "analogue"}, {"channel", 3}, {"volts", 2.5}}), "");
    float volts[4] = {};
    unsigned char on[4] = {};
    EXPECT_EQ(Get_IO_Input(app.arm, on, volts), 0);
    EXPECT_EQ(volts[2], 2.5f);

    EXPECT_EQ(act({{"act", "object"}, {"width", 40}, {"mass", 1}}), "");
    EXPECT_EQ(Set_Gripper_Pick(app.arm, 500, 100, true), 0) << "now there is something to grip";
    EXPECT_EQ(act({{"act", "object"}, {"width", 80}, {"mass", 1}}), "the gripper is not open that far");

    EXPECT_EQ(act({{"act", "fault"}, {"text", "delay 5"}}), "");
    EXPECT_EQ(act({{"act", "fault"}, {"text", "collision"}}), "");
    EXPECT_EQ(state()["faults"], Json::array({"delay 5"}));
    EXPECT_EQ(state()["errors"], Json::array({"collision"}));
    EXPECT_EQ(act({{"act", "jog"}, {"page", "a"}, {"hold", 1}, {"joint", 1}, {"up", true}, {"percent", 1}}),
              "the controller is in error");
    EXPECT_EQ(act({{"act", "clear_errors"}}), "");

    EXPECT_EQ(act({{"act", "teach"}, {"on", true}}), "");
    EXPECT_EQ(state()["mode"], "led by hand");
    EXPECT_NE(act({{"act", "lead"}, {"to", {2, 0, 0}}}), "") << "out of reach";
    EXPECT_EQ(act({{"act", "lead"}, {"to", {0.1, 0, 0.8}}}), "");
    state([](const Json& now) { return std::abs(now["pose"][0].get<double>() - 0.1) < 1e-3; });
    EXPECT_EQ(act({{"act", "teach"}, {"on", false}}), "");

    EXPECT_EQ(act({{"act", "power"}, {"on", false}}), "");
    EXPECT_EQ(state()["mode"], "power off");
    EXPECT_NE(act({{"act", "fly"}}), "");
    EXPECT_EQ(act({{"act", "jog"}, {"page", "a"}, {"hold", 1}, {"joint", 1}, {"up", "yes"}, {"percent", 1}}),
              "true or false was expected");
    EXPECT_NE(act("stop"), "");
}

// What one page holds is its own, and what a stop has ended stays ended, whatever the page still sends.
TEST_F(Page, HoldsForOnePage)
{
    const auto ask = [this](const char* what, const char* page, int hold) {
        return act({{"act", what},
                    {"page", page},
                    {"hold", hold},
                    {"joint", 2},
                    {"up", true},
                    {"percent", 1},
                    {"force", {0, 0, 9}}});
    };
    EXPECT_EQ(ask("jog", "a", 1), "");
    for (const char* what : {"jog", "push"})
        EXPECT_EQ(ask(what, "b", 1), "another page holds joint 2, at 127.0.0.1");
    for (const char* what : {"confirm", "release"})
        EXPECT_EQ(ask(what, "b", 1), "it was let go") << "not by another page";
    EXPECT_EQ(ask("confirm", "a", 1), "");
    const Json held = state()["held"];
    EXPECT_EQ(held["page"], "a");
    EXPECT_EQ(held["what"], "joint 2");
    EXPECT_EQ(act({{"act", "stop"}}), "");
    EXPECT_EQ(ask("confirm", "a", 1), "it was let go");
    EXPECT_TRUE(state(shows("mode", "ready"))["held"].is_null());
    EXPECT_EQ(ask("push", "b", 2), "");
}

TEST_F(Page, SaysNothingWhileNothingChanges)
{
    std::map<std::string, int> events;
    listen(port, [&](const std::string& kind, const Json&) { return ++events[kind], events["time"] < 4; });
    EXPECT_EQ(events["state"], 1);
}

TEST_F(Page, SendsItsFilesOnce)
{
    httplib::Client client("127.0.0.1", port);
    client.set_decompress(false);
    const auto file = client.Get("/three/build/three.module.js");
    ASSERT_TRUE(file);
    EXPECT_EQ(file->get_header_value("Content-Encoding"), "gzip");
    EXPECT_LT(file->body.size(), 400000u);
    const httplib::Headers known = {{"If-None-Match", file->get_header_value("ETag")}};
    EXPECT_EQ(client.Get("/three/build/three.module.js", known)->status, 304);
    EXPECT_EQ(client.Get("/style.css", known)->status, 200) << "another file";
}

// A page that is gone while it holds a button must not leave the arm running.
TEST_F(Page, LetsGoOfWhatIsNotHeldOn)
{
    hold_until({{"act", "jog"}, {"joint", 2}, {"up", true}, {"percent", 1}}, shows("mode", "jogging"));
    EXPECT_LT(state(shows("mode", "ready"))["joints"][1], 120) << "short of the limit";
    hold_until({{"act", "push"}, {"force", {0, 0, -50}}}, shows("push", {0, 0, -50}));
    state(shows("push", {0, 0, 0}));
}

// What the arm is about to do is told while it does it: the tool's way, and how the arm will stand.
TEST_F(Page, TellsWhereTheArmGoes)
{
    EXPECT_EQ(state()["dexterity"], 0) << "stretched";
    const Json from = go({20, 20, 70, 0, 60, 10});
    EXPECT_TRUE(from["planned"].is_null());
    EXPECT_GT(from["dexterity"], 0.01);
    act({{"act", "step"}, {"frame", "base"}, {"axis", 2}, {"by", -100}, {"percent", 20}});
    const Json planned = state(shows("mode", "moving"))["planned"];
    const Json& way = planned["path"];
    state([&](const Json& now) { return now["mode"] == "ready" && stands(planned["joints"])(now); });
    for (std::size_t i = 0; i < way.size(); ++i) {
        const double done = 0.1 * double(i) / double(way.size() - 1);
        for (int axis = 0; axis < 3; ++axis)
            EXPECT_NEAR(way[i][axis], from["pose"][axis].get<double>() - (axis == 2) * done, 2e-3)
                << i << axis;
    }
}

// What somebody at the page asks for is what the arm does, and what it cannot do is told.
TEST_F(Page, MovesTheArmByHand)
{
    const std::vector<double> start = {20, 20, 70, 0, 60, 10};
    const KDL::Frame tool = frame_of(go(start)["pose"]);
    const double angle = 10 * M_PI / 180;
    const struct {
        const char* request;
        KDL::Frame target;
    } rows[] = {
        {R"({"frame": "base", "axis": 1, "by": -10})", {tool.M, tool.p + KDL::Vector(0, -0.01, 0)}},
        {R"({"frame": "tool", "axis": 0, "by": 10})", tool * KDL::Frame(KDL::Vector(0.01, 0, 0))},
        {R"({"frame": "base", "axis": 5, "by": 10})", {KDL::Rotation::RotZ(angle) * tool.M, tool.p}},
        {R"({"frame": "tool", "axis": 3, "by": 10})", tool * KDL::Frame(KDL::Rotation::RotX(angle))},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.request);
        Json request = Json::parse(row.request);
        request["act"] = "step", request["percent"] = 100;
        EXPECT_EQ(act(request), "");
        state([&](const Json& now) {
            return now["mode"] == "ready" && KDL::Equal(frame_of(now["pose"]), row.target, 1e-4);
        });
        go(start);
    }

    // The second step adds to the first, which is under way; what has failed ends what waits behind it.
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(act({{"act", "step"}, {"joint", 1}, {"by", 10}, {"percent", 100}}), "");
    state(stands({40, 20, 70, 0, 60, 10}));
    act({{"act", "go"}, {"pose", {900, 0, 300, 0, 0, 0}}, {"line", true}, {"percent", 100}});
    act({{"act", "step"}, {"joint", 1}, {"by", 10}, {"percent", 10}});
    state([](const Json& now) { return !now["notice"].is_null() && now["mode"] == "ready"; });
    EXPECT_NE(act({{"act", "go"}, {"joints", {0, 0, 999, 0, 0, 0}}, {"percent", 100}}), "");
}

// Where the tool can go no farther straight ahead, it goes on along the end of its reach.
TEST_F(Page, SlidesAlongTheEndOfItsReach)
{
    const KDL::Frame from = frame_of(go({45, 20, 70, 0, 60, 0})["pose"]);
    const Json there =
        hold_until({{"act", "jog"}, {"frame", "base"}, {"axis", 0}, {"up", true}, {"percent", 100}},
                   [&](const Json& now) {
                       const KDL::Vector way = frame_of(now["pose"]).p - from.p;
                       return std::hypot(way.y(), way.z()) > 0.01;
                   });
    const KDL::Twist way = KDL::diff(from, frame_of(there["pose"]));
    EXPECT_GT(way.vel.x(), 0);
    EXPECT_EQ(there["mode"], "jogging");
    EXPECT_LT(way.rot.Norm(), 0.05) << "turned as before";
    EXPECT_EQ(act({{"act", "release"}, {"page", "a"}, {"hold", 1}}), "");
    state(shows("mode", "ready"));
}

// A proxy's page shows the arm behind it: it asks itself, and sees what replies to others tell.
TEST(PageOfAProxy, LooksOn)
{
    Controller behind({"--speed", "10"});
    Controller proxy(
        {"--web", "0", "--model", "46", "--proxy", "127.0.0.1:" + std::to_string(behind.port())});
    const int unseen = KX_Link_Open("127.0.0.1", behind.port(), 46, nullptr); // past the proxy
    const float away[7] = {-30, -10, 20, 0, 30, 0}, target[7] = {30, -20, 40, 0, 60, 0};
    EXPECT_EQ(Movej_Cmd(unseen, away, 50, 0, true), 0);
    first_of(proxy.page(), "state", stands({away, away + 6}));
    KX_Link_Close(unseen);

    const int arm = KX_Link_Open("127.0.0.1", proxy.port(), 46, nullptr);
    float reached[7] = {};
    EXPECT_EQ(Movej_Cmd(arm, target, 50, 0, true), 0);
    EXPECT_EQ(Get_Joint_Degree(arm, reached), 0);
    EXPECT_EQ(first_of(proxy.page(), "state", stands({target, target + 6}))["mode"], "looking on");
    KX_Link_Close(arm);

    const std::string faults = first_of(proxy.page(), "about")["faults"].dump();
    EXPECT_NE(faults.find("[\"delay\","), faults.npos);
    EXPECT_EQ(faults.find("[\"collision\","), faults.npos) << "no arm is simulated here";
}

} // namespace
