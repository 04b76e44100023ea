// Tool and work frames and the payload on the wire and back.
#include "support/command_rows.h"

#include "kx_base.h"

static const POSE pose = {0.1234567f, -0.5f, 1, -3.14159f, 0.0005f, 1.5f};

INSTANTIATE_TEST_SUITE_P(
    Frames, Setters,
    testing::Values(
        Setter{"Auto_Set_Tool_Frame", [](int fd, bool block) { return Auto_Set_Tool_Frame(fd, 255, block); },
               R"({"command":"set_auto_tool_frame","point_num":255})", "set_auto_tool_frame",
               "auto_tool_frame", 11, Entry::sleeping, 46, R"({"command":"","point_num":255})"},
        Setter{"Generate_Auto_Tool_Frame",
               [](int fd, bool block) {
                   return Generate_Auto_Tool_Frame(fd, "grip", 1.5f, 0.01f, 0, 0.1234f, block);
               },
               R"({"command":"generate_auto_tool_frame","tool_name":"grip","payload":1.5,)"
               R"("position":[10,0,123]})",
               "set_auto_tool_frame", "auto_tool_frame"},
        Setter{"Manual_Set_Tool_Frame",
               [](int fd, bool block) {
                   return Manual_Set_Tool_Frame(fd, "a \"b\"", pose, -2.25f, -0.0019f, 0.001f, 3, block);
               },
               R"({"command":"set_manual_tool_frame","tool_name":"a \"b\"",)"
               R"("tool_pose":[123456,-500000,1000000,-3141,0,1500],"payload":-2.25,"position":[-1,1,3000]})",
               "set_manual_tool_frame", "manual_tool_frame"},
        Setter{"Change_Tool_Frame",
               [](int fd, bool block) { return Change_Tool_Frame(fd, "longer than nine", block); },
               R"({"command":"set_change_tool_frame","tool_name":"longer than nine"})",
               "set_change_tool_frame", "change_tool_frame"},
        Setter{"Change_Tool_Frame_without_a_name",
               [](int fd, bool block) { return Change_Tool_Frame(fd, nullptr, block); },
               R"({"command":"set_change_tool_frame"})", "set_change_tool_frame", "change_tool_frame"},
        Setter{"Delete_Tool_Frame", [](int fd, bool block) { return Delete_Tool_Frame(fd, "", block); },
               R"({"command":"set_delete_tool_frame","tool_name":""})", "set_delete_tool_frame",
               "delete_tool_frame"},
        Setter{"Set_Payload",
               [](int fd, bool block) { return Set_Payload(fd, -7, 0.01f, -0.0009f, 1.2345f, block); },
               R"({"command":"set_payload","payload":-7,"position":[10,0,1234]})", "set_payload",
               "set_state"},
        Setter{"Set_None_Payload", Set_None_Payload, R"({"command":"set_none_payload"})", "set_none_payload",
               "set_state"},
        Setter{"Auto_Set_Work_Frame",
               [](int fd, bool block) { return Auto_Set_Work_Frame(fd, "bench", 3, block); },
               R"({"command":"set_auto_work_frame","frame_name":"bench","point_num":3})",
               "set_auto_work_frame", "auto_work_frame"},
        Setter{"Manual_Set_Work_Frame",
               [](int fd, bool block) { return Manual_Set_Work_Frame(fd, "bench", pose, block); },
               R"({"command":"set_manual_work_frame","frame_name":"bench",)"
               R"("frame_pose":[123456,-500000,1000000,-3141,0,1500]})",
               "set_maual_work_frame", "manual_work_frame"},
        Setter{"Change_Work_Frame", [](int fd, bool block) { return Change_Work_Frame(fd, "bench", block); },
               R"({"command":"set_change_work_frame","frame_name":"bench"})", "set_change_work_frame",
               "change_work_frame"},
        Setter{"Delete_Work_Frame", [](int fd, bool block) { return Delete_Work_Frame(fd, "bench", block); },
               R"({"command":"set_delete_work_frame","frame_name":"bench"})", "set_maual_work_frame",
               "manual_work_frame"}),
    RowName());

static void append(std::vector<double>& values, const POSE& read)
{
    values.insert(values.end(), {read.x, read.y, read.z, read.rx, read.ry, read.rz});
}

static void append(std::vector<double>& values, const std::string& letters)
{
    values.insert(values.end(), letters.begin(), letters.end());
}

// Outputs in the order pose, payload, centre of mass, letters of the name.
template <class Call>
static auto reading_frame(Call get)
{
    return [get](int fd, std::vector<double>& values) {
        FRAME frame = {"before", {-1, -1, -1, -1, -1, -1}, -1, -1, -1, -1};
        const int status = get(fd, &frame);
        values.clear();
        append(values, frame.pose);
        values.insert(values.end(), {frame.payload, frame.x, frame.y, frame.z});
        append(values, frame.frame_name);
        return status;
    };
}

static const std::string a_pose = R"("pose":[123456,-1,0,-3141,1500,0])";
static const POSE as_read = {0.123456f, -0.000001f, 0, -3.141f, 1.5f, 0};
static const POSE unread = {-1, -1, -1, -1, -1, -1};

static std::vector<double> frame(const std::string& name, const POSE& read = unread, double payload = -1,
                                 std::vector<double> centre = {-1, -1, -1})
{
    std::vector<double> values;
    append(values, read);
    values.push_back(payload);
    values.insert(values.end(), centre.begin(), centre.end());
    append(values, name);
    return values;
}

static std::string reply(const std::string& reply_name, const std::string& members)
{
    return "{\"command\":\"" + reply_name + "\"," + members + "}";
}

// Replies of a tool frame, behind the member that brings the name, if one does.
static std::vector<ReplyCase> tool_frame(const std::string& reply_name, const std::string& name_member,
                                         const std::string& name, int centre_is_no_array)
{
    const auto broken_off = [&](const std::string& members) {
        return reply(reply_name, name_member + members);
    };
    const std::string loaded = a_pose + R"(,"payload":2.9)";
    return {{broken_off(loaded + R"(,"position":[10,0,-123000])"), 0,
             frame(name, as_read, 2, {0.00001, 0, -0.123})},
            {broken_off(R"("payload":2)"), 9, frame(name)},
            {broken_off(R"("pose":{})"), 11, frame(name)},
            {broken_off(R"("pose":[1,2,3,4,5])"), 12, frame(name)},
            {broken_off(R"("pose":[1,2,3,4,5,6,7])"), 12, frame(name)},
            {broken_off(a_pose), 9, frame(name, as_read)},
            {broken_off(a_pose + R"(,"payload":"2")"), 11, frame(name, as_read)},
            {broken_off(loaded), 9, frame(name, as_read, 2)},
            {broken_off(loaded + R"(,"position":1)"), centre_is_no_array, frame(name, as_read, 2)},
            {broken_off(loaded + R"(,"position":[1,2])"), 11, frame(name, as_read, 2)},
            {broken_off(loaded + R"(,"position":[1,2,3,4])"), 11, frame(name, as_read, 2)}};
}

static std::vector<ReplyCase> current_tool_frame()
{
    std::vector<ReplyCase> cases =
        tool_frame("current_tool_frame", R"("tool_name":"twelve chars",)", "twelve ch", 9);
    cases.push_back({reply("current_tool_frame", R"("tool_name":5,)" + a_pose), 11, frame("before")});
    cases.push_back({reply("current_tool_frame", a_pose), 9, frame("before")});
    return cases;
}

// Outputs are the letters of the first four entries, each with a comma.
static Getter name_list(std::string name, int (*get)(int, FRAME_NAME*), const std::string& reply_name,
                        const std::string& key)
{
    const auto list = [=](const std::string& value) { return reply(reply_name, "\"" + key + "\":" + value); };
    const auto entries = [](const std::string& letters) {
        return std::vector<double>(letters.begin(), letters.end());
    };
    return {std::move(name),
            [get](int fd, std::vector<double>& values) {
                FRAME_NAME names[4] = {{"-"}, {"-"}, {"-"}, {"-"}};
                const int status = get(fd, names);
                values.clear();
                for (const FRAME_NAME& entry : names)
                    append(values, std::string(entry.name) + ",");
                return status;
            },
            "{\"command\":\"get_" + reply_name + "\"}",
            reply_name,
            {{list(R"(["a","b","NULL","c"])"), 0, entries("a,b,-,-,")},
             {list(R"(["nine char","twelve chars","null",""])"), 0, entries("nine char,twelve ch,null,,")},
             {list("[]"), 0, entries("-,-,-,-,")},
             {list(R"(["NULL"])"), 0, entries("-,-,-,-,")},
             {list(R"(["a","NULL",3])"), 0, entries("a,-,-,-,")},
             {list(R"(["a",3,"NULL"])"), 11, entries("-,-,-,-,")},
             {list(R"("a")"), 11, entries("-,-,-,-,")}}};
}

INSTANTIATE_TEST_SUITE_P(
    Frames, Getters,
    testing::Values(
        Getter{"Get_Current_Tool_Frame", reading_frame(Get_Current_Tool_Frame),
               R"({"command":"get_current_tool_frame"})", "current_tool_frame", current_tool_frame()},
        Getter{"Get_Given_Tool_Frame",
               reading_frame([](int fd, FRAME* out) { return Get_Given_Tool_Frame(fd, "grip", out); }),
               R"({"command":"get_tool_frame","tool_name":"grip"})", "given_tool_frame",
               tool_frame("given_tool_frame", R"("tool_name":"grip",)", "before", 11)},
        name_list("Get_All_Tool_Frame", Get_All_Tool_Frame, "total_tool_frame", "tool_names"),
        Getter{"Get_Current_Work_Frame",
               reading_frame(Get_Current_Work_Frame),
               R"({"command":"get_current_work_frame"})",
               "current_work_frame",
               {{reply("current_work_frame",
                       R"("frame_name":"twelve chars","payload":2,"position":[1,2,3],)" + a_pose),
                 0, frame("twelve ch", as_read)},
                {reply("current_work_frame", R"("frame_name":"a")"), 9, frame("a")},
                {reply("current_work_frame", R"("frame_name":"a","pose":1)"), 11, frame("a")},
                {reply("current_work_frame", R"("frame_name":"a","pose":[1])"), 12, frame("a")},
                {reply("current_work_frame", R"("frame_name":null,)" + a_pose), 11, frame("before")}}},
        Getter{"Get_Given_Work_Frame",
               [](int fd, std::vector<double>& values) {
                   POSE read = unread;
                   const int status = Get_Given_Work_Frame(fd, "bench", &read);
                   values.clear();
                   append(values, read);
                   return status;
               },
               R"({"command":"get_work_frame","frame_name":"bench"})",
               "given_work_frame",
               {{reply("given_work_frame", a_pose), 0, {0.123456, -0.000001, 0, -3.141, 1.5, 0}},
                {reply("given_work_frame", R"("pose":"")"), 11, std::vector<double>(6, -1)},
                {reply("given_work_frame", R"("pose":[])"), 12, std::vector<double>(6, -1)}}},
        name_list("Get_All_Work_Frame", Get_All_Work_Frame, "total_work_frame", "frame_names")),
    RowName());
