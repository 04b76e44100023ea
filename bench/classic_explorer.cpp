// Plays random schedules of faults and callers against classic connections, in simulated time, within the rules that
// applications keep there: one call that waits at a time, lines less than 300 bytes and 30 ms apart. Holds what happens
// against what those connections promise then: classic_explorer [steps] [seed], or --replay DECISIONS.
#include "simulated.h"

#include "kx_base.h"
#include "runtime/classic/pending.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <utility>

using namespace simulated;

namespace {

constexpr Time ms = millisecond;
constexpr Time slack = 15 * ms;   // threads are stalled for up to 5 ms
constexpr Time spacing = 30 * ms; // of the controller's lines
constexpr int reply_ms = 200;

enum Kind { question, setting, motion, target, stop, state, probe, kinds };
constexpr const char* names[] = {"question", "setting", "motion", "target", "stop", "state", "probe"};

struct Request {
    Kind kind;
    int id;
    enum { none, yes, no } answer = none;
    int times_left = 0;
    Time answered = never; // its line was whole
};

struct Arm {
    int sockfd = 0, number;
    Socket* socket = nullptr;
    std::string leaving, taken, tail;
    std::vector<Request*> open;
    Time next_line = 0, troubled = never, disturbed = 0; // the last that happens to its replies
    bool reads = true, cuts_next = false;
    bool loses = false;                         // requests, as it did not read
    int asked[kinds] = {}, settled[kinds] = {}; // the latter: answered, and the answer taken
    std::vector<std::pair<Kind, Time>> settling;
    std::vector<Request*> queued; // in their order, as far as they have not left
};

std::vector<std::unique_ptr<Request>> requests;
std::map<int, Request*> request_of;
std::vector<std::unique_ptr<Arm>> arms;
bool is_somebody_waiting = false;
bool is_streaming = false; // then nothing is pushed: a push takes an entry from the list in which others wait
int next_number = 1000, next_question = 1;

Request& new_request(Kind kind, int id)
{
    requests.push_back(std::make_unique<Request>(Request{kind, id}));
    if (id > 0) request_of[id] = requests.back().get();
    return *requests.back();
}

void settle(Arm& arm)
{
    std::erase_if(arm.settling, [&arm](const auto& answered) {
        if (now() < answered.second + 3 * slack) return false;
        ++arm.settled[answered.first];
        return true;
    });
}

// --- the far side

int number_behind(const std::string& line, const char* text)
{
    const size_t at = line.find(text);
    return at == line.npos ? -1 : std::atoi(line.c_str() + at + std::strlen(text));
}

std::pair<Kind, int> read(const std::string& line)
{
    const auto is = [&line](const char* command) {
        return line.find("\"" + std::string(command) + "\"") != line.npos;
    };
    if (is("get_DO_state")) return {question, number_behind(line, "\"IO_Num\":\t")};
    if (is("set_payload")) return {setting, number_behind(line, "\"payload\":\t")};
    if (is("movej")) return {motion, number_behind(line, "\"joint\":\t[") / 1000};
    if (is("movej_canfd")) return {target, number_behind(line, "\"joint\":\t[") / 1000};
    if (is("set_arm_stop")) return {stop, 0};
    if (is("get_current_arm_state")) return {state, 0};
    if (is("get_joint_max_speed")) return {probe, 0};
    fail("a line that nobody asked for: %s", line.c_str());
}

class FarSide : public World {
  public:
    const char* thread_name(unsigned number) override { return number == 0 ? "writer" : "receiver"; }

    void dialled(Socket& socket) override
    {
        Arm& arm = *arms.back();
        arm.socket = &socket;
        socket.state = one_in(10) ? Socket::refused : Socket::connected;
    }

    void lacks() override {}
    void closed(Socket& socket) override { of(socket).socket = nullptr; }

    void has_left(Socket& socket, const std::string& bytes) override
    {
        Arm& arm = of(socket);
        arm.leaving += bytes;
        for (size_t end; (end = arm.leaving.find("\r\n")) != std::string::npos;
             arm.leaving.erase(0, end + 2)) {
            const auto [kind, id] = read(arm.leaving.substr(0, end));
            tell("leaves arm %d: %s %d", arm.number, names[kind], id);
            if (id > 0 && ++request_of.at(id)->times_left > 1) fail("%s %d is sent twice", names[kind], id);
            if (std::strcmp(running_thread(), "writer") != 0) continue;
            if (now() < writer_next - 1 * ms) fail("queued requests leave too fast");
            writer_next = now() + 5 * ms;
            if (kind == stop || arm.loses) continue;
            if (arm.queued.empty() || arm.queued.front()->id != id)
                fail("%s %d leaves before its turn", names[kind], id);
            arm.queued.erase(arm.queued.begin());
        }
        // What the system takes in part is lost, and what comes behind is glued to it.
        if (!arm.leaving.empty() || socket.sent.size() >= socket.room) is_troubled(arm);
    }

    Time next() override
    {
        Time at = never;
        for (const auto& arm : arms)
            if (is_there(*arm) && (!arm->open.empty() || !arm->tail.empty()) && arm->next_line > now())
                at = std::min(at, arm->next_line);
        return at;
    }

    bool go_on() override
    {
        for (const auto& each : arms) {
            Arm& arm = *each;
            if (!is_there(arm)) continue;
            if (arm.reads && !arm.socket->sent.empty()) return read_all(arm);
            if (now() < arm.next_line) continue;
            if (!arm.tail.empty()) return deliver(arm, "");
            if (!arm.open.empty()) return answer(arm, *arm.open.front());
        }
        return false;
    }

    void disturb() override
    {
        if (!somebody_acts()) return;
        Arm& arm = *arms[choose(static_cast<unsigned>(arms.size()))];
        if (!is_there(arm)) return;
        const unsigned deed = choose(12);
        if (!arm.tail.empty() && deed < 10) return; // only an end interrupts a line
        switch (deed) {
        case 1:
        case 2:
            arm.next_line = std::max(arm.next_line, now()) + (1 + choose(12)) * 25 * ms;
            arm.disturbed = arm.next_line;
            return tell("controller %d is busy", arm.number);
        case 3:
        case 4:
            if (arm.open.empty() || arm.open.front()->kind == motion) return;
            tell("controller %d loses the reply to %s %d", arm.number, names[arm.open.front()->kind],
                 arm.open.front()->id);
            arm.disturbed = now();
            ++arm.settled[arm.open.front()->kind];
            arm.open.erase(arm.open.begin());
            return;
        case 5:
        case 6: {
            static const std::string lines[] = {
                "{\"command\":\"timer\",\"set_state\":true}\n", "nonsense\n",
                "{\"command\":\"joint_state\",\"joint\":[1,2,3,4,5,6],\"arm_err\":0}\n"};
            if (now() < arm.next_line) return;
            tell("controller %d says something else", arm.number);
            deliver(arm, lines[choose(is_streaming ? 2 : 3)]);
            return;
        }
        case 7:
            arm.cuts_next = true;
            return;
        case 8:
            if (!one_in(3)) return;
            arm.reads = !arm.reads;
            arm.loses = true;
            arm.socket->room = arm.reads ? 4096 : 300;
            return tell("controller %d %s", arm.number, arm.reads ? "reads" : "reads no more");
        case 10:
        case 11:
            if (!one_in(3)) return;
            is_troubled(arm);
            (one_in(2) ? arm.socket->is_reset : arm.socket->has_ended) = true;
            return tell("controller %d %s", arm.number, arm.socket->is_reset ? "resets" : "closes");
        default:
            return;
        }
    }

  private:
    Time writer_next = 0;

    static Arm& of(const Socket& socket)
    {
        for (const auto& arm : arms)
            if (arm->socket == &socket) return *arm;
        fail("a socket of nobody");
    }

    static bool is_there(const Arm& arm)
    {
        return arm.socket && arm.socket->state == Socket::connected && !arm.socket->is_reset &&
               !arm.socket->has_ended;
    }

    static void is_troubled(Arm& arm) { arm.troubled = std::min(arm.troubled, now()); }

    static bool read_all(Arm& arm)
    {
        arm.taken += std::exchange(arm.socket->sent, "");
        for (size_t end; (end = arm.taken.find("\r\n")) != std::string::npos; arm.taken.erase(0, end + 2)) {
            if (arm.troubled != never) continue; // lines may be parts of others
            const auto [kind, id] = read(arm.taken.substr(0, end));
            if (kind != target && kind != probe)
                arm.open.push_back(id > 0 ? request_of.at(id) : &new_request(kind, 0));
        }
        return true;
    }

    static bool deliver(Arm& arm, const std::string& line)
    {
        arm.tail += line;
        let_come(*arm.socket, arm.tail, arm.cuts_next);
        arm.next_line = now() + (arm.tail.empty() ? spacing : 2 * ms);
        return true;
    }

    static bool answer(Arm& arm, Request& request)
    {
        request.answer =
            request.kind != question && request.kind != state && one_in(8) ? Request::no : Request::yes;
        const std::string truth = request.answer == Request::yes ? "true}\n" : "false}\n";
        tell("controller %d answers %s %d: %s", arm.number, names[request.kind], request.id,
             request.answer == Request::yes ? "yes" : "no");
        arm.open.erase(arm.open.begin());
        request.answered = now() + 2 * ms;
        arm.settling.emplace_back(request.kind, request.answered);
        switch (request.kind) {
        case question:
            return deliver(arm,
                           "{\"command\":\"DO_state\",\"IO_state\":" + std::to_string(request.id) + "}\n");
        case setting:
            return deliver(arm, "{\"command\":\"set_payload\",\"set_state\":" + truth);
        case motion:
            return deliver(arm, "{\"command\":\"current_trajectory_state\",\"trajectory_state\":" + truth);
        case stop:
            return deliver(arm, "{\"command\":\"set_arm_stop\",\"arm_stop\":" + truth);
        default:
            return deliver(arm, "{\"command\":\"current_arm_state\",\"arm_state\":{\"pose\":[0,0,0,0,0,0],"
                                "\"joint\":[0,0,0,0,0,0],\"arm_err\":0,\"sys_err\":0}}\n");
        }
    }
};

// --- callers

void connect(size_t index)
{
    const auto old = index < arms.size() ? std::move(arms[index]) : nullptr;
    if (old) arms.erase(arms.begin() + static_cast<long>(index));
    arms.push_back(std::make_unique<Arm>());
    Arm& arm = *arms.back();
    arm.number = next_number++;
    int status;
    while ((status = Arm_Socket_Start("127.0.0.1", 1000, 46, 0)) <= KX_BAD_DESCRIPTOR) {
        tell("connecting: %d", status);
        if (status != (arm.socket ? KX_BAD_DESCRIPTOR : KX_NO_SOCKET)) fail("connecting says %d", status);
        if (arm.socket) Arm_Socket_Close(arm.socket->descriptor); // it is left open
    }
    arm.sockfd = status;
    tell("connected: arm %d", arm.number);
}

void wait_for_turn()
{
    while (is_somebody_waiting)
        wait_until(never, [] { return !is_somebody_waiting; });
    is_somebody_waiting = true;
}

// One that waits, with nobody else.
void call(Arm& arm, Kind kind)
{
    settle(arm);
    const bool is_clear = arm.asked[kind] == arm.settled[kind];
    const int asked = ++arm.asked[kind];
    Request& request = new_request(kind, kind == question ? next_question++ : next_number++);
    const Time begun = now();
    tell("%s %d of arm %d, waiting", names[kind], request.id, arm.number);
    const float joint[6] = {static_cast<float>(request.id)};
    unsigned char number = 0;
    const int status = kind == question
                           ? Get_DO_State(arm.sockfd, static_cast<unsigned char>(request.id), &number)
                       : kind == setting ? Set_Payload(arm.sockfd, request.id, 0, 0, 0, true)
                                         : Movej_Cmd(arm.sockfd, joint, 20, 0, true);
    const Time ended = now();
    tell("%s %d: %d after %.3f ms", names[kind], request.id, status,
         static_cast<double>(ended - begun) / 1e6);
    const auto wrong = [&](const char* why) {
        fail("%s %d returns %d: %s", names[kind], request.id, status, why);
    };
    if (request.times_left == 0) ++arm.settled[kind];            // it never left
    const bool is_mixed = !is_clear || arm.asked[kind] != asked; // with others of its kind
    const bool is_disturbed = arm.troubled != never || arm.disturbed + reply_ms * ms > begun;
    if (kind != motion && ended > begun + (20 + reply_ms + 10) * ms + slack) wrong("too late");
    switch (status) {
    case KX_SUCCESS:
        if (is_mixed) break;
        if (request.answer != Request::yes || (kind == question && number != request.id))
            wrong("the answer is another one");
        break;
    case KX_REFUSED:
        if (request.answer != Request::no && !is_mixed) wrong("the controller did not refuse");
        break;
    case KX_SEND_FAILED:
        if (arm.troubled == never && !arm.loses) wrong("nothing is wrong with the connection");
        break;
    case KX_TIMED_OUT:
        if (kind != motion && ended < begun + reply_ms * ms) wrong("too early");
        if (kind != motion && !is_mixed &&
            request.answered < std::min(begun + reply_ms * ms - 2 * slack, arm.troubled - slack))
            wrong("the answer had come");
        if (kind == motion && !is_mixed && !is_disturbed && !arm.loses) wrong("the controller lives");
        break;
    case KX_BAD_REPLY:
        if (arm.troubled == never && !is_mixed) wrong("the reply is good");
        break;
    default:
        wrong("no such status");
    }
}

void queue(Arm& arm, Kind kind)
{
    Request& request = new_request(kind, kind == stop ? 0 : next_number++);
    ++arm.asked[kind];
    tell("%s %d of arm %d, queued", names[kind], request.id, arm.number);
    if (kind != stop) arm.queued.push_back(&request);
    // A caller that comes between would be before this one in the queue, so the order is that of the calls.
    const int status = kind == stop ? Move_Stop_Cmd_NonBlock(arm.sockfd)
                                    : Set_Payload_NonBlock(arm.sockfd, request.id, 0, 0, 0);
    if (status != KX_SUCCESS) fail("a queued %s returns %d", names[kind], status);
}

void act()
{
    for (unsigned left = 4 + choose(16); left > 0; --left) {
        Arm* arm = arms[choose(static_cast<unsigned>(arms.size()))].get();
        const unsigned deed = choose(16);
        if (deed == 0) return;
        if (deed == 1 || deed == 2) {
            sleep(choose(100) * ms);
            continue;
        }
        wait_for_turn();
        if (std::none_of(arms.begin(), arms.end(), [arm](const auto& each) { return each.get() == arm; }))
            arm = arms[0].get();
        if (deed < 7 && next_question < 250) call(*arm, question);
        if (deed == 7 || deed == 8) call(*arm, setting);
        if (deed == 9) call(*arm, motion);
        if (deed == 10 || deed == 11) queue(*arm, setting);
        if (deed == 12) queue(*arm, stop);
        if (deed == 13 && is_streaming) {
            const float joint[6] = {static_cast<float>(new_request(target, next_number++).id)};
            const int status = Movej_CANFD(arm->sockfd, joint);
            if (status != KX_SUCCESS && arm->troubled == never && !arm->loses)
                fail("a target returns %d", status);
        }
        if (deed == 14) {
            const int status = Arm_Sockrt_State(arm->sockfd);
            if (status != KX_SUCCESS && arm->troubled == never && !arm->loses)
                fail("the probe says %d", status);
        }
        if (deed == 15 && one_in(2)) {
            tell("closes arm %d", arm->number);
            Arm_Socket_Close(arm->sockfd);
            if (arm->socket) fail("a closed connection is open");
            const auto found =
                std::find_if(arms.begin(), arms.end(), [arm](const auto& each) { return each.get() == arm; });
            connect(static_cast<size_t>(found - arms.begin()));
        }
        is_somebody_waiting = false;
    }
}

void live()
{
    KX_API_Init(nullptr);
    m_nOutTime = reply_ms;
    for (size_t index = 0; index < 2; ++index)
        connect(index);
    is_streaming = choose(2) == 1;
    let_act([](unsigned) { act(); }, 1000000 * ms);
    sleep(4000 * ms);
    for (const auto& arm : arms)
        if (arm->troubled == never && !arm->loses && !arm->queued.empty())
            fail("%zu queued requests have not left", arm->queued.size());
    for (int index = 0; index < m_nSockeRIinfosLen; ++index)
        if (SockeRIinfos[index].waiting != 0) fail("an entry of a caller is left behind");
    for (const auto& arm : arms)
        Arm_Socket_Close(arm->sockfd);
    sleep(100 * ms);
}

} // namespace

int main(int count, char** arguments)
{
    return explore<FarSide, live>(count, arguments);
}
