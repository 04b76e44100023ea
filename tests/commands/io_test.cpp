// Inputs and outputs of controller and tool flange on the wire and back.
#include "support/command_rows.h"
#include "support/peer.h"

#include "kx_base.h"
#include "runtime/pending.h"

static auto set_AO_state(float voltage)
{
    return [=](int fd, bool block) { return Set_AO_State(fd, 3, block, voltage); };
}

INSTANTIATE_TEST_SUITE_P(IO, Setters,
                         testing::Values(Setter{"Set_DO_State", with(Set_DO_State, 2, true),
                                                R"({"command":"set_DO_state","IO_Num":2,"state":1})",
                                                "set_DO_state", "state", 11, Entry::direct},
                                         Setter{"Set_AO_State", set_AO_state(1.2345f),
                                                R"({"command":"set_AO_state","IO_Num":3,"voltage":1234})",
                                                "set_AO_state", "state", 11, Entry::direct},
                                         Setter{"Set_AO_State_negative", set_AO_state(-0.0019f),
                                                R"({"command":"set_AO_state","IO_Num":3,"voltage":-1})",
                                                "set_AO_state", "state", 11, Entry::direct},
                                         Setter{"Set_IO_State_digital", with(Set_IO_State, 0, 255, false),
                                                R"({"command":"set_DO_state","IO_Num":255,"state":0})",
                                                "set_DO_state", "state"},
                                         Setter{"Set_IO_State_analogue", with(Set_IO_State, 1, 3, true),
                                                R"({"command":"set_AO_state","IO_Num":3,"voltage":1000})",
                                                "set_AO_state", "state"},
                                         Setter{"Set_Tool_IO_Mode", with(Set_Tool_IO_Mode, 1, true),
                                                R"({"command":"set_tool_IO_mode","IO_Num":1,"state":1})",
                                                "set_tool_IO_mode", "set_state"},
                                         Setter{"Set_Tool_Voltage", with(Set_Tool_Voltage, 3),
                                                R"({"command":"set_tool_voltage","voltage_type":3})",
                                                "set_tool_voltage", "state"}),
                         RowName());

template <class Read>
static Getter channel(std::string name, Read read, const std::string& kind, bool sleeps)
{
    const auto reply = [=](const std::string& member) {
        return "{\"command\":\"get_" + kind + "\"," + member + "}";
    };
    std::vector<ReplyCase> cases = {{reply(R"("IO_state":257.9)"), 0, {1}},
                                    {reply(R"("IO_state":true)"), 11, {255}},
                                    {reply(R"("voltage":1)"), 9, {255}}};
    if (kind[0] == 'A')
        cases = {{reply(R"("voltage":2999)"), 0, {2}},
                 {reply(R"("voltage":"2999")"), 11, {255}},
                 {reply(R"("IO_state":1)"), 9, {255}}};
    return {std::move(name),
            [=](int fd, std::vector<double>& values) {
                return filled<unsigned char, 1>(values, [&](unsigned char* out) { return read(fd, out); });
            },
            "{\"command\":\"get_" + kind + "\",\"IO_Num\":7}",
            kind,
            cases,
            46,
            9,
            sleeps};
}

static auto of_its_own(int (*get)(int, unsigned char, unsigned char*))
{
    return [=](int fd, unsigned char* out) { return get(fd, 7, out); };
}
static auto of_type(int io_type)
{
    return [=](int fd, unsigned char* out) { return Get_IO_State(fd, io_type, 7, out); };
}

// Two arrays, with room for three channels each.
template <class First>
static auto arrays(int (*get)(int, First*, float*))
{
    return [get](int fd, std::vector<double>& values) {
        std::vector<double> second;
        const int status = filled<First, 3>(values, [&](First* first) {
            return filled<float, 3>(second, [&](float* out) { return get(fd, first, out); });
        });
        values.insert(values.end(), second.begin(), second.end());
        return status;
    };
}

static Getter all_channels(std::string name, int (*get)(int, unsigned char*, float*),
                           const std::string& command, const std::string& reply_name,
                           const std::string& digital, const std::string& analogue)
{
    const auto reply = [=](const std::string& first, const std::string& second) {
        return "{\"command\":\"" + reply_name + "\",\"" + digital + "\":" + first + second + "}";
    };
    const std::string key = ",\"" + analogue + "\":";
    return {std::move(name),
            arrays(get),
            "{\"command\":\"" + command + "\"}",
            reply_name,
            {{reply("[1,0,257]", key + "[9999,-1]"), 0, {1, 0, 1, 9.999, -0.001, -1}},
             {reply("[]", key + "[]"), 0, {255, 255, 255, -1, -1, -1}},
             {reply("[1,0]", ""), 9, {1, 0, 255, -1, -1, -1}},
             {reply("[1]", key + "5"), 11, {1, 255, 255, -1, -1, -1}},
             {reply("true", key + "[1]"), 11, {255, 255, 255, -1, -1, -1}}}};
}

INSTANTIATE_TEST_SUITE_P(
    IO, Getters,
    testing::Values(
        channel("Get_DO_State", of_its_own(Get_DO_State), "DO_state", false),
        channel("Get_DI_State", of_its_own(Get_DI_State), "DI_state", false),
        channel("Get_AO_State", of_its_own(Get_AO_State), "AO_state", false),
        channel("Get_AI_State", of_its_own(Get_AI_State), "AI_state", false),
        channel("Get_IO_State_DO", of_type(0), "DO_state", true),
        channel("Get_IO_State_DI", of_type(1), "DI_state", true),
        channel("Get_IO_State_AO", of_type(2), "AO_state", true),
        channel("Get_IO_State_AI", of_type(3), "AI_state", true),
        all_channels("Get_IO_Input", Get_IO_Input, "get_IO_input", "IO_input_state", "DI", "AI"),
        all_channels("Get_IO_Output", Get_IO_Output, "get_IO_output", "IO_output_state", "DO", "AO"),
        Getter{"Get_Tool_IO_State",
               arrays(Get_Tool_IO_State),
               R"({"command":"get_tool_IO_state"})",
               "tool_IO_state",
               {{R"({"command":"tool_IO_state","IO_Mode":[1,0],"IO_State":[0,1,1000]})",
                 0,
                 {1, 0, -1, 0, 1, 1000}},
                {R"({"command":"tool_IO_state","IO_Mode":[1,0]})", 9, {1, 0, -1, -1, -1, -1}},
                {R"({"command":"tool_IO_state","IO_Mode":[1],"IO_State":1})", 11, {1, -1, -1, -1, -1, -1}},
                {R"({"command":"tool_IO_state","IO_Mode":1,"IO_State":[1]})", 11, {-1, -1, -1, -1, -1, -1}}}},
        Getter{"Get_Tool_Voltage",
               [](int fd, std::vector<double>& values) {
                   return filled<unsigned char, 1>(
                       values, [&](unsigned char* type) { return Get_Tool_Voltage(fd, type); });
               },
               R"({"command":"get_tool_voltage"})",
               "tool_voltage_state",
               {{R"({"command":"tool_voltage_state","voltage_type":3})", 0, {3}},
                {R"({"command":"tool_voltage_state","voltage_type":null})", 11, {255}}}}),
    RowName());

TEST(IO, SendsNothingForAnUnknownType)
{
    Arm arm;
    for (int io_type : {2, -1}) {
        EXPECT_EQ(Set_IO_State(arm.sockfd, io_type, 1, true, false), 11);
        EXPECT_EQ(Set_IO_State(arm.sockfd, io_type, 1, true, true), 11);
    }
    unsigned char state = 77;
    for (int io_type : {4, -1})
        EXPECT_EQ(Get_IO_State(arm.sockfd, io_type, 1, &state), 11);
    EXPECT_EQ(state, 77);
    expect_delay(true, [&] { Get_IO_State(arm.sockfd, 4, 1, &state); });

    Set_Tool_Voltage(arm.sockfd, 0, false);
    EXPECT_EQ(arm.peer.next_request(), on_the_wire(R"({"command":"set_tool_voltage","voltage_type":0})"));
}

TEST(IO, NeverSeesTheReplyToAToolOutput)
{
    Arm arm;
    const std::string request = on_the_wire(R"({"command":"set_tool_DO_state","IO_Num":2,"state":1})");
    EXPECT_EQ(Set_Tool_DO_State(arm.sockfd, 2, true, false), 0);
    EXPECT_EQ(arm.peer.next_request(), request);
    expect_delay(true, [] { Set_Tool_DO_State(-1, 2, true, false); });

    m_nOutTime = 200;
    arm.peer.answer("{\"command\":\"set_tool_DO_state\",\"set_state\":true}\n");
    std::thread observer([] {
        EXPECT_TRUE(eventually([] { return m_nSockeRIinfosLen == 1; }));
        EXPECT_EQ(SockeRIinfos[0].key, 106);
    });
    EXPECT_EQ(Set_Tool_DO_State(arm.sockfd, 2, true, true), 7);
    observer.join();
    EXPECT_EQ(arm.peer.next_request(), request);
    EXPECT_EQ(Set_Tool_DO_State(-1, 2, true, true), 6);
    expect_idle();
}
