// Tool and work frames, payload.
#include "kx/frames.h"
#include "runtime/command.h"

#include <string.h>

using namespace kx;

// The load's mass as given and its centre in thousandths.
static Request with_load(Request request, double mass, float x, float y, float z)
{
    const float centre[3] = {x, y, z};
    return request.number("payload", mass).array("position", 3, [&](int i) {
        return truncated(centre[i], 1000.0f);
    });
}

static Request auto_tool_frame(const char* command, unsigned char point_num)
{
    return Request(command, KeyCode::set_auto_tool_frame).number("point_num", point_num);
}

// With an empty command string, unlike the non-blocking form; both are part of the interface.
int Auto_Set_Tool_Frame_Block(int sockfd, unsigned char point_num)
{
    return exchange(sockfd, auto_tool_frame("", point_num), boolean_state("auto_tool_frame"));
}

int Auto_Set_Tool_Frame_NonBlock(int sockfd, unsigned char point_num)
{
    return post(sockfd, auto_tool_frame("set_auto_tool_frame", point_num));
}

int Auto_Set_Tool_Frame(int sockfd, unsigned char point_num, bool block)
{
    return sleeping(sockfd, block, Auto_Set_Tool_Frame_Block, Auto_Set_Tool_Frame_NonBlock, point_num);
}

static Request generate_tool_frame(const char* name, float payload, float x, float y, float z)
{
    return with_load(
        Request("generate_auto_tool_frame", KeyCode::set_auto_tool_frame).text("tool_name", name), payload, x,
        y, z);
}

// Answered like Auto_Set_Tool_Frame.
int Generate_Auto_Tool_Frame_Block(int sockfd, const char* name, float payload, float x, float y, float z)
{
    return exchange(sockfd, generate_tool_frame(name, payload, x, y, z), boolean_state("auto_tool_frame"));
}

int Generate_Auto_Tool_Frame_NonBlock(int sockfd, const char* name, float payload, float x, float y, float z)
{
    return post(sockfd, generate_tool_frame(name, payload, x, y, z));
}

int Generate_Auto_Tool_Frame(int sockfd, const char* name, float payload, float x, float y, float z,
                             bool block)
{
    return sleeping(sockfd, block, Generate_Auto_Tool_Frame_Block, Generate_Auto_Tool_Frame_NonBlock, name,
                    payload, x, y, z);
}

static Request manual_tool_frame(const char* name, const POSE& pose, float payload, float x, float y, float z)
{
    return with_load(Request("set_manual_tool_frame", KeyCode::set_manual_tool_frame)
                         .text("tool_name", name)
                         .pose("tool_pose", pose),
                     payload, x, y, z);
}

int Manual_Set_Tool_Frame_Block(int sockfd, const char* name, POSE pose, float payload, float x, float y,
                                float z)
{
    return exchange(sockfd, manual_tool_frame(name, pose, payload, x, y, z),
                    boolean_state("manual_tool_frame"));
}

int Manual_Set_Tool_Frame_NonBlock(int sockfd, const char* name, POSE pose, float payload, float x, float y,
                                   float z)
{
    return post(sockfd, manual_tool_frame(name, pose, payload, x, y, z));
}

int Manual_Set_Tool_Frame(int sockfd, const char* name, POSE pose, float payload, float x, float y, float z,
                          bool block)
{
    return sleeping(sockfd, block, Manual_Set_Tool_Frame_Block, Manual_Set_Tool_Frame_NonBlock, name, pose,
                    payload, x, y, z);
}

static Request change_tool_frame(const char* name)
{
    return Request("set_change_tool_frame", KeyCode::set_change_tool_frame).text("tool_name", name);
}

int Change_Tool_Frame_Block(int sockfd, const char* name)
{
    return exchange(sockfd, change_tool_frame(name), boolean_state("change_tool_frame"));
}

int Change_Tool_Frame_NonBlock(int sockfd, const char* name)
{
    return post(sockfd, change_tool_frame(name));
}

int Change_Tool_Frame(int sockfd, const char* name, bool block)
{
    return sleeping(sockfd, block, Change_Tool_Frame_Block, Change_Tool_Frame_NonBlock, name);
}

static Request delete_tool_frame(const char* name)
{
    return Request("set_delete_tool_frame", KeyCode::set_delete_tool_frame).text("tool_name", name);
}

int Delete_Tool_Frame_Block(int sockfd, const char* name)
{
    return exchange(sockfd, delete_tool_frame(name), boolean_state("delete_tool_frame"));
}

int Delete_Tool_Frame_NonBlock(int sockfd, const char* name)
{
    return post(sockfd, delete_tool_frame(name));
}

int Delete_Tool_Frame(int sockfd, const char* name, bool block)
{
    return sleeping(sockfd, block, Delete_Tool_Frame_Block, Delete_Tool_Frame_NonBlock, name);
}

static Request payload_request(int payload, float cx, float cy, float cz)
{
    return with_load(Request("set_payload", KeyCode::set_payload), payload, cx, cy, cz);
}

int Set_Payload_Block(int sockfd, int payload, float cx, float cy, float cz)
{
    return exchange(sockfd, payload_request(payload, cx, cy, cz), boolean_state("set_state"));
}

int Set_Payload_NonBlock(int sockfd, int payload, float cx, float cy, float cz)
{
    return post(sockfd, payload_request(payload, cx, cy, cz));
}

int Set_Payload(int sockfd, int payload, float cx, float cy, float cz, bool block)
{
    return sleeping(sockfd, block, Set_Payload_Block, Set_Payload_NonBlock, payload, cx, cy, cz);
}

static Request none_payload()
{
    return Request("set_none_payload", KeyCode::set_none_payload);
}

int Set_None_Payload_Block(int sockfd)
{
    return exchange(sockfd, none_payload(), boolean_state("set_state"));
}

int Set_None_Payload_NonBlock(int sockfd)
{
    return post(sockfd, none_payload());
}

int Set_None_Payload(int sockfd, bool block)
{
    return sleeping(sockfd, block, Set_None_Payload_Block, Set_None_Payload_NonBlock);
}

// Pose, mass and centre of mass, which comes back in millionths. The two getters of a tool frame differ in
// the code for a centre that is no array.
static int decode_tool_frame(Reply& reply, FRAME* frame, int centre_is_no_array)
{
    float* const centre[3] = {&frame->x, &frame->y, &frame->z};
    return reply.pose("pose", frame->pose)
        .integer("payload", frame->payload)
        .array("position", exactly(3), {centre_is_no_array, KX_WRONG_TYPE},
               [&](int i, int value) { *centre[i] = static_cast<float>(value) / 1000000.0f; })
        .code();
}

int Get_Current_Tool_Frame_Block(int sockfd, FRAME* frame)
{
    return exchange(
        sockfd, Request("get_current_tool_frame", KeyCode::current_tool_frame), [=](Reply& reply) {
            return decode_tool_frame(reply.text("tool_name", frame->frame_name), frame, KX_BAD_REPLY);
        });
}

int Get_Current_Tool_Frame(int sockfd, FRAME* frame)
{
    return query(Get_Current_Tool_Frame_Block, sockfd, frame);
}

int Get_Given_Tool_Frame_Block(int sockfd, const char* name, FRAME* frame)
{
    return exchange(sockfd, Request("get_tool_frame", KeyCode::given_tool_frame).text("tool_name", name),
                    [=](Reply& reply) { return decode_tool_frame(reply, frame, KX_WRONG_TYPE); });
}

int Get_Given_Tool_Frame(int sockfd, const char* name, FRAME* frame)
{
    return query(Get_Given_Tool_Frame_Block, sockfd, name, frame);
}

constexpr ArrayLength frame_names = up_to(100); // more do not fit into a classic reply

static auto name_list(const char* key, FRAME_NAME* names)
{
    return [=](Reply& reply) {
        return reply
            .strings(key, "NULL", frame_names,
                     [=](int i, const char* name) { copy_cut(names[i].name, name); })
            .code();
    };
}

int Get_All_Tool_Frame_Block(int sockfd, FRAME_NAME* names)
{
    return exchange(sockfd, Request("get_total_tool_frame", KeyCode::total_tool_frame),
                    name_list("tool_names", names));
}

int Get_All_Tool_Frame(int sockfd, FRAME_NAME* names)
{
    return query(Get_All_Tool_Frame_Block, sockfd, names);
}

static Request auto_work_frame(const char* name, unsigned char point_num)
{
    return Request("set_auto_work_frame", KeyCode::set_auto_work_frame)
        .text("frame_name", name)
        .number("point_num", point_num);
}

int Auto_Set_Work_Frame_Block(int sockfd, const char* name, unsigned char point_num)
{
    return exchange(sockfd, auto_work_frame(name, point_num), boolean_state("auto_work_frame"));
}

int Auto_Set_Work_Frame_NonBlock(int sockfd, const char* name, unsigned char point_num)
{
    return post(sockfd, auto_work_frame(name, point_num));
}

int Auto_Set_Work_Frame(int sockfd, const char* name, unsigned char point_num, bool block)
{
    return sleeping(sockfd, block, Auto_Set_Work_Frame_Block, Auto_Set_Work_Frame_NonBlock, name, point_num);
}

static Request manual_work_frame(const char* name, const POSE& pose)
{
    return Request("set_manual_work_frame", KeyCode::set_maual_work_frame)
        .text("frame_name", name)
        .pose("frame_pose", pose);
}

// Spelt right in the request, "set_maual_work_frame" in the reply.
int Manual_Set_Work_Frame_Block(int sockfd, const char* name, POSE pose)
{
    return exchange(sockfd, manual_work_frame(name, pose), boolean_state("manual_work_frame"));
}

int Manual_Set_Work_Frame_NonBlock(int sockfd, const char* name, POSE pose)
{
    return post(sockfd, manual_work_frame(name, pose));
}

int Manual_Set_Work_Frame(int sockfd, const char* name, POSE pose, bool block)
{
    return sleeping(sockfd, block, Manual_Set_Work_Frame_Block, Manual_Set_Work_Frame_NonBlock, name, pose);
}

static Request change_work_frame(const char* name)
{
    return Request("set_change_work_frame", KeyCode::set_change_work_frame).text("frame_name", name);
}

int Change_Work_Frame_Block(int sockfd, const char* name)
{
    return exchange(sockfd, change_work_frame(name), boolean_state("change_work_frame"));
}

int Change_Work_Frame_NonBlock(int sockfd, const char* name)
{
    return post(sockfd, change_work_frame(name));
}

int Change_Work_Frame(int sockfd, const char* name, bool block)
{
    return sleeping(sockfd, block, Change_Work_Frame_Block, Change_Work_Frame_NonBlock, name);
}

static Request delete_work_frame(const char* name)
{
    return Request("set_delete_work_frame", KeyCode::set_maual_work_frame).text("frame_name", name);
}

// Answered like Manual_Set_Work_Frame; KeyCode::set_delete_work_frame is awaited by nobody.
int Delete_Work_Frame_Block(int sockfd, const char* name)
{
    return exchange(sockfd, delete_work_frame(name), boolean_state("manual_work_frame"));
}

int Delete_Work_Frame_NonBlock(int sockfd, const char* name)
{
    return post(sockfd, delete_work_frame(name));
}

int Delete_Work_Frame(int sockfd, const char* name, bool block)
{
    return sleeping(sockfd, block, Delete_Work_Frame_Block, Delete_Work_Frame_NonBlock, name);
}

int Get_Current_Work_Frame_Block(int sockfd, FRAME* frame)
{
    return exchange(sockfd, Request("get_current_work_frame", KeyCode::current_work_frame),
                    [=](Reply& reply) {
                        return reply.text("frame_name", frame->frame_name).pose("pose", frame->pose).code();
                    });
}

int Get_Current_Work_Frame(int sockfd, FRAME* frame)
{
    return query(Get_Current_Work_Frame_Block, sockfd, frame);
}

int Get_Given_Work_Frame_Block(int sockfd, const char* name, POSE* pose)
{
    return exchange(sockfd, Request("get_work_frame", KeyCode::given_work_frame).text("frame_name", name),
                    [=](Reply& reply) { return reply.pose("pose", *pose).code(); });
}

int Get_Given_Work_Frame(int sockfd, const char* name, POSE* pose)
{
    return query(Get_Given_Work_Frame_Block, sockfd, name, pose);
}

int Get_All_Work_Frame_Blcok(int sockfd, FRAME_NAME* names)
{
    return exchange(sockfd, Request("get_total_work_frame", KeyCode::total_work_frame),
                    name_list("frame_names", names));
}

int Get_All_Work_Frame(int sockfd, FRAME_NAME* names)
{
    return query(Get_All_Work_Frame_Blcok, sockfd, names);
}
