// The grammar of faults and scripts, and the dice that faults are thrown with.
#include <algorithm>
#include <sstream>

#include "line/faults.h"
#include "line/script.h"

using namespace kx::sim;
using Strings = std::vector<std::string>;

namespace {

struct FaultsOfAnArm {
    Controller controller{46, [](const std::string&) {}};
    double speed = 1;
    int resets = 0;
    Faults faults{{.controller = &controller,
                   .reset_connections = [this] { ++resets; },
                   .set_speed = [this](double factor) { speed = factor; },
                   .pause = [](bool) {}}};
    const World& world() { return controller.peripherals().world; }
};

TEST(FaultText, IsUnderstoodOrSaysWhatIsWrong)
{
    const struct {
        const char* text;
        const char* wrong; ///< part of the message
    } rows[] = {
        {"", "the fault is missing"},
        {"dely 200", "only delay, drop"},
        {"delay", "MS is missing"},
        {"delay soon", "not soon"},
        {"delay 5 jiter 5", "\"jiter\" was not expected"},
        {"delay nan", "not nan"},
        {"drop 1.1", "from 0 to 1"},
        {"pieces 2.5", "whole number"},
        {"refuse fly", "no command fly"},
        {"joint-error 7", "from 1 to 6"},
        {"reset off", "nothing to end"},
        {"off now", "\"now\" was not expected"},
        {"di 5 on", "from 1 to 4"},
        {"di 1", "on or off"},
        {"di off", "nothing to end"},
        {"ai 1 11", "from 0 to 10"},
        {"push 1 2", "force is missing"},
        {"push 1 2 201", "from -200 to 200"},
        {"object 0", "from 1 to 100"},
        {"error 4", "from 1 to 3"},
        {"step -1", "from 0 to 3600"},
    };
    FaultsOfAnArm arm;
    for (const auto& row : rows)
        for (const std::string& said : {arm.faults.apply(row.text), arm.faults.check(row.text)})
            EXPECT_NE(said.find(row.wrong), std::string::npos) << row.text;
    for (const char* text : {"delay 200 jitter 50", "  pieces   3  ", "refuse movej movel", "joint-error 6",
                             "speed 0.5", "speed off", "reset", "off", "pause", "di 1 on", "tool-di 4 off",
                             "ai 2 9.5", "push 0 -5 12.5", "object 40 mass 1.5"}) {
        EXPECT_EQ(arm.faults.check(text), "") << text;
        EXPECT_EQ(arm.faults.apply(text), "") << text;
    }
    EXPECT_EQ(arm.resets, 1) << "nothing is done by a check";
    EXPECT_TRUE(arm.world().analogue_inputs[1] == 9.5 && arm.world().push[2] == 12.5);
    EXPECT_EQ(arm.world().object.value().mass, 1.5);
    EXPECT_EQ(arm.faults.apply("off"), "");
    EXPECT_FALSE(arm.world().object) << "what goes on is ended";
    EXPECT_TRUE(arm.world().digital_inputs[0]) << "what was switched is not";
    EXPECT_EQ(Faults({}).apply("collision"), "collision: no arm is simulated here");
}

TEST(FaultText, TakesThePlaceOfItsLikeUntilItIsEnded)
{
    FaultsOfAnArm arm;
    for (const char* text : {"drop 0.5", "delay 20 jitter 5", "delay 30", "speed 7", "collision"})
        EXPECT_EQ(arm.faults.apply(text), "");
    EXPECT_EQ(arm.faults.in_force(), (Strings{"delay 30", "drop 0.5", "speed 7"}));
    EXPECT_EQ(arm.faults.lines().jitter.count(), 0);
    EXPECT_EQ(arm.faults.apply("drop off"), "");
    EXPECT_EQ(arm.faults.lines().drop, 0);
    EXPECT_EQ(arm.speed, 7);
    EXPECT_EQ(arm.faults.apply("off"), "");
    EXPECT_EQ(arm.faults.in_force(), Strings{});
    EXPECT_EQ(arm.faults.lines().delay.count(), 0);
    EXPECT_EQ(arm.speed, 1);
}

TEST(FaultScript, BeginsEachFaultOnceAtItsTime)
{
    const FaultsOfAnArm arm;
    const auto check = [&](const std::string& fault) { return arm.faults.check(fault); };
    std::istringstream text(
        "# a comment\n2.5 silence # and another\n\nmovej+0.5 collision\n0 drop 1\nmovej reset");
    Script script(text, "script", check);
    const auto due = [](Script& from, double time) {
        std::string texts;
        while (const auto next = from.due(time))
            texts += next->text + " at " + std::to_string(next->time).substr(0, 3) + ", ";
        return texts;
    };
    EXPECT_FALSE(script.next_event());
    script.requested("movej", 4);
    EXPECT_EQ(due(script, 4), "reset at 4.0, ");
    script.connected(5);
    script.connected(6);
    script.requested("movej", 6);
    EXPECT_EQ(due(script, 7), "collision at 4.5, drop 1 at 5.0, ");
    EXPECT_EQ(script.next_event(), 7.5);
    EXPECT_EQ(due(script, 7.5), "silence at 7.5, ");
    EXPECT_FALSE(script.next_event());

    std::istringstream handshake(
        "do 1 rises, +0.5 di 2 on\ndo 1 falls di 2 off\nevery do 4 rises +1 di 3 on\n"
        "every movej, di 3 off\n");
    Script cell(handshake, "script", check);
    for (double time : {1, 2}) {
        cell.switched(1, true, time);
        cell.switched(2, true, time);
        cell.switched(4, true, time);
        cell.requested("movej", time);
    }
    EXPECT_EQ(due(cell, 100),
              "di 3 off at 1.0, di 2 on at 1.5, di 3 on at 2.0, di 3 off at 2.0, di 3 on at 3.0, ");
    cell.switched(1, false, 3);
    cell.add("do 2 rises di 4 on", check, 3);
    cell.add("0.5 pause", check, 3);
    const auto grow = [&] {
        for (int i = 0; i < 2000; ++i)
            cell.add("stop di 4 on", check, 3);
    };
    EXPECT_THROW(grow(), std::invalid_argument);
    cell.switched(2, true, 4);
    EXPECT_EQ(due(cell, 100), "di 2 off at 3.0, pause at 3.5, di 4 on at 4.0, ");

    for (const char* wrong : {"\n\ndo 5 rises reset", "\n\ndo 1 rise reset", "\n\nevery 2 reset",
                              "\n\ndo 1 rises, +x reset", "\n\nmovej", "1 drop 1\n\nfly reset",
                              "1 drop 1\n#\n2 drop 2", "1 reset\n\nmovej+ reset", "\n\n-1 reset"}) {
        std::istringstream in(wrong);
        try {
            Script(in, "script", check);
            ADD_FAILURE() << wrong;
        } catch (const std::invalid_argument& error) {
            EXPECT_EQ(std::string(error.what()).find("script:3: "), 0u) << error.what();
        }
    }
}

/** The places of the lines that leave. */
std::vector<int> survivors(unsigned seed, int client, const LineFaults& faults)
{
    std::vector<int> places;
    Luck luck(seed, client);
    for (int i = 0; i < 1000; ++i)
        for (const std::string& line : luck.sent_for(std::to_string(i) + "\n", faults))
            if (std::isdigit(line[0])) places.push_back(std::stoi(line));
    return places;
}

TEST(Luck, StrikesTheSameLinesForTheSameSeed)
{
    LineFaults faults;
    faults.drop = 0.25;
    const auto first = survivors(1, 1, faults);
    EXPECT_NEAR(static_cast<double>(first.size()), 750, 70); // five standard deviations
    EXPECT_NE(survivors(2, 1, faults), first);
    EXPECT_NE(survivors(1, 2, faults), first);
    faults.garbage = 0.5;
    faults.long_share = 0.5;
    faults.length = 100;
    EXPECT_EQ(survivors(1, 1, faults), first) << "whatever else there is";
}

TEST(Luck, MakesNoiseThatIsOneLineAndNobodysReply)
{
    LineFaults faults;
    faults.garbage = 1;
    Luck luck(7, 1);
    for (int i = 0; i < 1000; ++i) {
        const Strings sent = luck.sent_for("{}\n", faults);
        ASSERT_EQ(sent.size(), 2u) << "with the line itself";
        EXPECT_LT(sent[0].size(), Controller::reply_buffer);
        EXPECT_EQ(sent[0].find('\n'), sent[0].size() - 1);
        EXPECT_EQ(sent[0].find('\0'), std::string::npos);
        EXPECT_TRUE(std::ranges::none_of(sent[0],
                                         [](char c) { return std::isalnum(static_cast<unsigned char>(c)); }));
    }
}

} // namespace
