// Scenarios: what a client asks the virtual controller at which simulated time, and what it is answered. No
// network, and no real time passes.
//
//   0    movej joint [90000,0,0,0,0,0] v 100   -> later          the command, its members; no answer yet
//   0.4  set_arm_pause                         -> ok             one line without an error
//        set_arm_pause                         -> no paused      one that is refused, with this word in the reason
//        get_joint_degree                      -> joint [45000~1,*,*,*,*,<5]
//   +2   get_current_arm_state                 -> arm_state.arm_err 0
//        movej joint [0,0,0,0,0,0] v 100       -> done           the answer is waited for, and has no error,
//        movej joint [0,0,0,0,0,0] v 100       -> fails force    or has one
//   3    <- ok                                                   a line that has come by then, in order;
//   4    <- nothing                                              none has
//
// A line without a time acts at the time of the line before. Whatever comes unexpected is a failure.
#pragma once

#include <cmath>
#include <deque>
#include <regex>
#include <sstream>

#include <gtest/gtest.h>

#include "commands/json.h"
#include "commands/virtual_controller.h"

class Scenario : public kx::sim::Client {
  public:
    using Json = kx::sim::Json;

    explicit Scenario(int model = 46, kx::sim::World world = {})
        : controller(
              model, [](const std::string&) {}, std::move(world))
    {
    }

    void play(const std::string& script)
    {
        std::istringstream lines(script);
        for (std::string line; std::getline(lines, line);) {
            SCOPED_TRACE(line);
            auto words = split(line);
            if (!words.empty()) act(words);
        }
        EXPECT_TRUE(came.empty()) << came.front();
    }

    /** A command and its members. */
    static Json request(const std::string& text)
    {
        auto words = split(text);
        return request(words);
    }

    /** Who asks; the controller, which is part of this, may hold it to the end. */
    kx::sim::ClientHandle client() { return {std::shared_ptr<void>(), this}; }

    /** Sends a request. */
    void send(const Json& request)
    {
        controller.handle(request.dump(), time, client());
        plan();
    }

    /** The only line that answers a request. */
    Json ask(const Json& request)
    {
        send(request);
        EXPECT_EQ(came.size(), 1u) << request;
        return take();
    }

    void run(double seconds)
    {
        const double end = time + seconds, step = std::max(0.01, seconds / 1000);
        while (time < end) {
            controller.advance(time = std::min(end, time + step));
            plan();
        }
    }

    Json take()
    {
        if (came.empty()) return {};
        const Json line = came.front();
        came.pop_front();
        return line;
    }

    const kx::sim::Joints& joints() { return controller.arm().position(); }
    kx::sim::World& world() { return controller.peripherals().world; }

    kx::sim::Controller controller;
    double time = 0;
    std::deque<Json> came;

  private:
    void reply(const std::string& line) override
    {
        EXPECT_LT(line.size(), kx::sim::Controller::reply_buffer);
        EXPECT_EQ(line.find('\n'), line.size() - 1);
        came.push_back(Json::parse(line));
    }
    void push(std::string_view, const std::string& line) override { reply(line); }

    /** Takes no simulated time. */
    void plan()
    {
        while (controller.next_event() == time)
            controller.advance(time);
    }

    /** Words, texts in quotes, and whole JSON arrays and objects. */
    static std::deque<std::string> split(const std::string& line)
    {
        static const std::regex word(R"(("[^"]*"|\[[^\]]*\]|\{[^}]*\}|[^\s"\[{])+)");
        std::deque<std::string> words;
        for (std::sregex_iterator match(line.begin(), line.end(), word), end; match != end; ++match)
            words.push_back(match->str());
        return words;
    }

    /** Numbers that need not be exact become texts. */
    static Json value(const std::string& word)
    {
        static const std::regex range(R"([<>]-?[\d.]+|-?[\d.]+~[\d.]+|\*)");
        const Json json = Json::parse(std::regex_replace(word, range, "\"$&\""), nullptr, false);
        return json.is_discarded() ? Json(word) : json;
    }

    static bool fits(const Json& wanted, const Json& got)
    {
        if (wanted == "*") return true;
        if (wanted.is_array()) return got.is_array() && std::ranges::equal(wanted, got, fits);
        if (!wanted.is_string() || !got.is_number()) return wanted == got;
        const auto text = wanted.get<std::string>();
        const double number = got;
        if (text[0] == '<') return number < std::stod(text.substr(1));
        if (text[0] == '>') return number > std::stod(text.substr(1));
        return std::abs(number - std::stod(text)) <= std::stod(text.substr(text.find('~') + 1));
    }

    static std::string first(std::deque<std::string>& words)
    {
        const std::string word = words.empty() ? "" : words.front();
        if (!words.empty()) words.pop_front();
        return word;
    }

    static Json request(std::deque<std::string>& words)
    {
        Json request = {{"command", value(first(words))}};
        while (!words.empty() && words[0] != "->") {
            const std::string key = first(words);
            request[key] = value(first(words));
        }
        return request;
    }

    void act(std::deque<std::string>& words)
    {
        if (std::isdigit(words[0][0])) run(std::stod(first(words)) - time);
        if (words[0][0] == '+') run(std::stod(first(words)));
        if (words[0] == "<-") {
            words.pop_front();
        } else {
            EXPECT_TRUE(came.empty()) << "unexpected before: " << came.front();
            came.clear();
            send(request(words));
            ASSERT_EQ(first(words), "->");
        }
        expect(words);
    }

    void expect(std::deque<std::string>& words)
    {
        if (words[0] == "later" || words[0] == "nothing") {
            EXPECT_TRUE(came.empty()) << came.front();
            return came.clear();
        }
        if (words[0] == "done" || words[0] == "fails") {
            for (const double latest = time + 60; came.empty() && time < latest;)
                run(0.01);
            words[0] = words[0] == "done" ? "ok" : "no";
        }
        ASSERT_FALSE(came.empty()) << "no answer";
        const Json line = take();
        if (words[0] == "no") {
            const auto status = std::ranges::find(line, Json(false));
            EXPECT_TRUE(status != line.end() || line.size() == 2) << line; // a push has no status
            const std::string why = line.value("error", "");
            EXPECT_NE(why, "") << line;
            for (words.pop_front(); !words.empty(); words.pop_front()) {
                std::erase(words[0], '"');
                EXPECT_NE(why.find(words[0]), why.npos) << line;
            }
            return;
        }
        EXPECT_FALSE(line.contains("error")) << line;
        if (words[0] == "ok") words.pop_front();
        for (; words.size() > 1; words.pop_front(), words.pop_front()) {
            std::ranges::replace(words[0], '.', '/');
            const Json::json_pointer key(words[0].insert(0, 1, '/'));
            ASSERT_TRUE(line.contains(key)) << line;
            EXPECT_TRUE(fits(value(words[1]), line.at(key))) << words[0] << " in " << line;
        }
    }
};

/** A table of them: one test each. */
struct ScenarioRow {
    const char* name;
    const char* script;
    int model = 46;
    kx::sim::World world = {};
};

inline void PrintTo(const ScenarioRow& row, std::ostream* out)
{
    *out << row.name;
}

struct Scenarios : testing::TestWithParam<ScenarioRow> {};
