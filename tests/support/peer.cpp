#include "peer.h"

#include "kx/link.h"
#include "kx_base.h"
#include "runtime/classic/connection.h"
#include "runtime/classic/pending.h"
#include "runtime/classic/state.h"

#include <cjson/cJSON.h>
#include <gtest/gtest.h>

using namespace std::chrono_literals;

Peer::~Peer()
{
    shutdown(bound_.socket, SHUT_RDWR);
    hang_up();
    thread_.join();
    close(bound_.socket);
}

void Peer::serve()
{
    for (Connection::Taken taken; (taken.socket = accept(bound_.socket, nullptr, nullptr)) >= 0;) {
        Connection client(taken);
        serves(&client);
        for (std::string request; !(request = client.request()).empty();)
            take(request);
        serves(nullptr);
    }
}

void Peer::serves(Connection* client)
{
    std::lock_guard lock(mutex_);
    client_ = client;
    changed_.notify_all();
}

void Peer::take(const std::string& request)
{
    std::lock_guard lock(mutex_);
    requests_.push_back(request);
    changed_.notify_all();
    Answerer answerer = answerer_;
    if (!answers_.empty()) {
        answerer = answers_.front();
        answers_.pop_front();
    }
    if (const std::string line = answerer(request); !line.empty()) client_->say(line);
}

void Peer::answer(const std::string& line, const std::function<void()>& look)
{
    std::lock_guard lock(mutex_);
    answers_.push_back([=](auto) { return look(), line; });
}

std::string Peer::next_request()
{
    std::unique_lock lock(mutex_);
    if (!changed_.wait_for(lock, 30s, [&] { return !requests_.empty(); })) {
        ADD_FAILURE() << "no request came";
        return {};
    }
    std::string request = requests_.front();
    requests_.pop_front();
    return request;
}

size_t Peer::unread()
{
    std::lock_guard lock(mutex_);
    return requests_.size();
}

void Peer::say(const std::string& line)
{
    std::unique_lock lock(mutex_);
    ASSERT_TRUE(changed_.wait_for(lock, 30s, [&] { return client_ != nullptr; })) << "nobody is connected";
    client_->say(line);
}

void Peer::hang_up()
{
    std::lock_guard lock(mutex_);
    if (client_) client_->hang_up();
}

static int start_classic(const char* address, int port, int model)
{
    if (!m_nThreadIsRun) KX_API_Init(nullptr);
    const int sockfd = Arm_Socket_Start(address, port, model, 0);
    EXPECT_LT(Get_Socket_Idx(sockfd), m_nSockInfoLen) << "not connected";
    return sockfd;
}

static int open_link(const char* address, int port, int model)
{
    KX_LINK_OPTIONS options;
    KX_Link_Defaults(&options);
    options.late_reply_ms = options.silence_ms = 60000; // a busy machine makes no reply late that is not
    return KX_Link_Open(address, port, model, &options);
}

const ConnectionKind classic = {true, start_classic, [](int ms) { m_nOutTime = ms; }};
const ConnectionKind link_kind = {false, open_link, [](int ms) { KX_Link_Call_Timeout(ms); }};

Arm::Arm(int model, const ConnectionKind& kind) : sockfd(kind.open("127.0.0.1", peer.port(), model)) {}

Arm::~Arm()
{
    Arm_Socket_Close(sockfd);
}

// The receiver looks at the connections in their order, so what a newer one got is taken last.
void until_all_is_taken()
{
    Arm marker;
    const int index = m_nSockeRIinfosLen;
    KX_Mutex_Lock();
    Add_List(SockeRIinfos, index, marker.sockfd, Get_Json_KeyCode("set_vehicle"), 0, 1);
    m_nSockeRIinfosLen = index + 1;
    KX_Mutex_UnLock();
    marker.peer.say("set_vehicle");
    EXPECT_TRUE(eventually([&] { return SockeRIinfos[index].received == 1; }));
    ClearList(SockeRIinfos, &m_nSockeRIinfosLen, index);
}

std::string on_the_wire(const std::string& json)
{
    cJSON* parsed = cJSON_Parse(json.c_str());
    EXPECT_NE(parsed, nullptr) << json;
    char* printed = cJSON_Print(parsed);
    std::string line = std::string(printed) + "\r\n";
    cJSON_free(printed);
    cJSON_Delete(parsed);
    return line;
}

bool eventually(const std::function<bool()>& condition)
{
    const auto deadline = std::chrono::steady_clock::now() + 30s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}
