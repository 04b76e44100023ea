// What an attacker tries on the virtual controller, from a web page or beside it.
#include "support/bound.h"
#include "support/connection.h"
#include "support/controller.h"
#include "support/own_file.h"

#include <list>

#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::json;

const std::string motion = R"({"command":"movej","joint":[90000,0,0,0,0,0],"v":100,"r":0})";
const std::string question = R"({"command":"get_joint_degree"})";
const std::string ask_plans = R"({"command":"get_arm_plan_num"})";

std::string here(int port)
{
    return "127.0.0.1:" + std::to_string(port);
}

/** A port that nobody else is given, on which a program of ours may listen. */
struct Reserved : Bound {
    Reserved()
    {
        const int yes = 1;
        setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    }
    ~Reserved() { close(socket); }
};

// What does not begin with a request has none of its requests done, the ones behind a proxy included.
TEST(Door, IsShutToWhoeverDoesNotBeginWithARequest)
{
    const struct {
        const char* name;
        std::string sent;
        bool is_heard;
    } rows[] = {
        {"a request", motion + "\r\n", true},
        {"after white space", "\r\n  \t" + motion + "\r\n", true},
        {"fetch of a web page",
         "POST / HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: text/plain\r\n\r\n" + motion + "\r\n", false},
        {"a link on a web page", "GET /" + motion + " HTTP/1.1\r\n\r\n" + motion + "\r\n", false},
        {"HTTP with the next protocol", "PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n" + motion + "\r\n", false},
        {"a word", "hello\n" + motion + "\r\n", false},
        {"broken JSON", "{oops}\n" + motion + "\r\n", false},
        {"an array", "[1]\n" + motion + "\r\n", false},
        {"a line without end", std::string(70000, 'x') + "\n" + motion + "\r\n", false},
        {"white space without end", std::string(200000, ' ') + motion + "\r\n", false},
    };
    Controller arm;
    Controller proxy({"--proxy", here(arm.port())});
    for (const Controller* door : {&arm, &proxy})
        for (const auto& row : rows) {
            SCOPED_TRACE(row.name);
            Connection client(door->port());
            client.send(row.sent);
            Connection observer(arm.port());
            if (row.is_heard) {
                // The stop answers both: itself, and the motion that it ends.
                client.send(R"({"command":"set_arm_stop"})");
                EXPECT_NE(client.line().find("arm_stop"), std::string::npos);
                EXPECT_NE(client.line().find("\"trajectory_state\":false"), std::string::npos);
            } else {
                const std::string last = client.rest();
                EXPECT_EQ(last.find("trajectory_state"), std::string::npos) << last;
                observer.send(ask_plans);
                EXPECT_EQ(Json::parse(observer.line()).at("plan_num"), 0);
            }
        }
}

// Of few descriptors each door has its share, which a flood at another one does not take; who has asked something stays.
TEST(Door, StaysOpenInAFlood)
{
    Process controller(
        {"/bin/sh", "-c", "ulimit -n 64; exec " KX_CONTROLLER " --port 0 --web 0 --control 0 2>&1"});
    int ports[3];
    for (int& port : ports)
        port = number_behind(":", controller.line());
    const auto [arm, page, control] = ports;
    const auto answers = [](Connection&& client, const std::string& sent) {
        client.send(sent);
        return client.line().substr(0, 12);
    };
    Connection early(arm);
    early.send(question);
    const std::string answer = early.line();
    for (const int port : ports) {
        SCOPED_TRACE(port == arm ? "clients" : port == page ? "page" : "control");
        std::list<Connection> flood;
        for (int i = 0; i < 100; ++i)
            flood.emplace_back(port);
        early.send(question);
        EXPECT_EQ(early.line(), answer);
        EXPECT_EQ(answers(Connection(arm), question), answer.substr(0, 12));
        EXPECT_EQ(answers(Connection(page), "GET / HTTP/1.1\r\nHost: localhost\r\n\r\n"), "HTTP/1.1 200");
        EXPECT_EQ(answers(Connection(control), "di 2 on\n"), "ok");
    }
    EXPECT_NE(controller.printed().find(" lines more in that second"), std::string::npos) << "no full disk";
}

// What is deeply nested would end the process where it is printed, copied or searched for passwords. After a request the door
// stays open for whatever is none.
TEST(Door, RefusesWhatIsNestedTooDeeply)
{
    const std::string deep = "{\"command\":" + std::string(32600, '[') + std::string(32600, ']') + "}\r\n";
    const OwnFile recording;
    {
        Controller arm({"--record", recording.path, "--web", "0"});
        Connection client(arm.port());
        client.send(question + deep + question);
        EXPECT_TRUE(Json::parse(client.line()).contains("joint"));
        EXPECT_EQ(Json::parse(client.line()).at("error"), "the request is nested too deeply");
        EXPECT_TRUE(Json::parse(client.line()).contains("joint"));
    }
    for (const auto& [entry, why] :
         {std::pair("{\"request\":" + std::string(300000, '['), "nested too deeply"),
          {R"({"time":0,"client":1e84,"request":{}})", "the client"},
          {R"({"time":0,"client":0.5,"request":{}})", "the client"},
          {R"({"time":1e300,"client":1,"request":{}})", "the time"}}) {
        recording.write("{\"recording\":\"kx-controller\",\"version\":1}\n" + std::string(entry) + '\n');
        Process replay(
            {"/bin/sh", "-c", "exec " KX_CONTROLLER " --port 0 --replay " + recording.path + " 2>&1"});
        const std::string line = replay.line();
        EXPECT_NE(line.find(":2: this is no line of a recording: "), std::string::npos) << line;
        EXPECT_NE(line.find(why), std::string::npos) << line;
        EXPECT_EQ(replay.end(0), 1);
    }
}

TEST(Door, KeepsPasswordsIn)
{
    const OwnFile recording;
    Controller arm({"--record", recording.path});
    for (const char* sent : {
             R"({"command":"set_wifi_ap","wifi_name":"workshop","password":"sesame"})",
             R"({"command":"set_wifi_ap","wifi_name":"workshop","Password":"sesame"})",
             R"({"command":"set_wifi_ap","wifi_name":"workshop","password":"open \"sesame\""})",
             R"({"command":"set_wifi_ap","wifi_name":"workshop","pass\u0077ord":"sesame"})",
             R"({"command":"set_wifi_ap","wifi_name" "workshop","pass\u0077ord":"sesame"})",
             R"({"command":"set_wifi_ap","wifi_name" "workshop","PASSWORD":"sesame"})",
             R"({"command":"set_wifi_ap","password":} sesame)",
             R"({"command":"set_wifi_ap","password":"x"} "sesame")",
             R"({"command":"set_wifi_ap","pass\u0077ord":}, sesame)",
             "{\"command\":\"set_wifi_ap\",\"password\":\r\n\"sesame\"",
         }) {
        Connection client(arm.port());
        for (const std::string& lines :
             {question + sent + "\r\n" + question + "\r\n", "\r\n" + question + "\r\n"}) {
            client.send(lines);
            while (client.line().find("\"joint\"") == std::string::npos) {
            }
        }
        EXPECT_EQ(recording.content().find("sesame"), std::string::npos) << sent;
    }
    EXPECT_NE(recording.content().find("workshop"), std::string::npos);
}

// Behind itself, directly or with another one between, every client of a proxy makes one more.
TEST(Door, OfAProxyBehindItselfIsShut)
{
    const Reserved one, other;
    for (const Reserved* behind : {&one, &other}) {
        const OwnFile recording;
        Controller first({"--port", std::to_string(one.port()), "--proxy", here(behind->port()), "--record",
                          recording.path});
        Controller second({"--port", std::to_string(other.port()), "--proxy", here(one.port())});
        {
            Connection client(one.port());
            client.send(question + "\r\n");
            EXPECT_EQ(client.rest().find("\"joint\""), std::string::npos);
        }
        EXPECT_EQ(first.end(SIGTERM), 0);
        EXPECT_EQ(second.end(SIGTERM), 0);
        const std::string all = recording.content();
        int clients = 0;
        for (std::size_t at = 0; (at = all.find("\"connected\"", at)) != all.npos; ++at)
            ++clients;
        EXPECT_LE(clients, behind == &one ? 2 : 66);
    }
}

// Everything by the test's own steps of time, as slowly as it likes.
TEST(Control, MovesTheTimeAndSwitchesInputs)
{
    Controller arm({"--control", "0"});
    const int control_port = number_behind(":", arm.line());
    Connection client(arm.port()), control(control_port), browser(control_port);
    browser.send("POST / HTTP/1.1\r\n\r\ncollision\n");
    const std::string answer = browser.rest();
    EXPECT_EQ(answer.find('\n'), answer.size() - 1) << answer << "one answer, and no more is heard";
    const auto say = [&](const std::string& line) {
        control.send(line + "\n");
        return control.line();
    };
    const auto ask_for = [&](const std::string& request) {
        client.send(request + "\r\n");
        return Json::parse(client.line());
    };
    EXPECT_EQ(say("pause"), "ok");
    client.send(motion);
    EXPECT_EQ(ask_for(ask_plans).at("plan_num"), 1);
    EXPECT_EQ(say("step 0.4"), "ok");
    EXPECT_EQ(ask_for(question).at("joint").at(0), 45000);

    EXPECT_EQ(say("every do 1 rises, +0.5 di 2 on"), "ok");
    EXPECT_EQ(ask_for(R"({"command":"set_DO_state","IO_Num":1,"state":1})").at("state"), true);
    const auto input = [&] { return ask_for(R"({"command":"get_DI_state","IO_Num":2})").at("IO_state"); };
    EXPECT_EQ(say("step 0.4"), "ok");
    EXPECT_EQ(Json::parse(client.line()).at("trajectory_state"), true);
    EXPECT_EQ(input(), 0);
    EXPECT_EQ(say("step 0.2"), "ok");
    EXPECT_EQ(input(), 1) << "half a second later";

    EXPECT_EQ(say("di 9 on").substr(0, 7), "error: ");
    EXPECT_EQ(say("do 1 rises, fly").substr(0, 7), "error: ");
    EXPECT_EQ(say(std::string(2000, ' ')), "error: the line is too long");
    EXPECT_EQ(control.rest(), "");
}

// Links need no spacing of lines, and a push for every target.
TEST(Spacing, OfNothingLeavesEveryPushOnItsOwn)
{
    Controller arm({"--spacing", "0"});
    Connection client(arm.port());
    for (int i = 0; i < 200; ++i)
        client.send(R"({"command":"movej_canfd","joint":[0,0,0,0,0,0]})");
    for (int i = 0; i < 200; ++i)
        EXPECT_EQ(Json::parse(client.line()).at("command"), "joint_state");
}

} // namespace
