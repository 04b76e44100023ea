#include "peer.h"

#include "bound.h"

#include "kx/link.h"
#include "kx_base.h"
#include "runtime/classic/connection.h"
#include "runtime/classic/pending.h"
#include "runtime/classic/state.h"

#include <cjson/cJSON.h>
#include <functional>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace std::chrono_literals;

Peer::Peer()
{
    const Bound bound(4);
    listener_ = bound.socket;
    port_ = bound.port();
    thread_ = std::thread(&Peer::serve, this);
}

Peer::~Peer()
{
    shutdown(listener_, SHUT_RDWR);
    hang_up();
    thread_.join();
    close(listener_);
}

void Peer::serve()
{
    for (int client; (client = accept(listener_, nullptr, nullptr)) >= 0;) {
        {
            std::lock_guard lock(mutex_);
            client_ = client;
            changed_.notify_all();
        }
        char bytes[4096];
        for (ssize_t count; (count = recv(client, bytes, sizeof bytes, 0)) > 0;)
            receive(bytes, static_cast<size_t>(count));
        std::lock_guard lock(mutex_);
        client_ = -1;
        close(client);
    }
}

void Peer::receive(const char* bytes, size_t count)
{
    std::lock_guard lock(mutex_);
    partial_.append(bytes, count);
    for (size_t end; (end = partial_.find("\r\n")) != std::string::npos;) {
        requests_.push_back(partial_.substr(0, end + 2));
        partial_.erase(0, end + 2);
        if (!answers_.empty()) {
            const auto [text, look] = answers_.front();
            answers_.pop_front();
            if (look) look();
            ::send(client_, text.data(), text.size(), MSG_NOSIGNAL);
        }
    }
    changed_.notify_all();
}

void Peer::answer(std::string text, std::function<void()> look)
{
    std::lock_guard lock(mutex_);
    answers_.emplace_back(std::move(text), std::move(look));
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

void Peer::send(const std::string& bytes)
{
    std::unique_lock lock(mutex_);
    ASSERT_TRUE(changed_.wait_for(lock, 30s, [&] { return client_ >= 0; })) << "nobody is connected";
    ::send(client_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

void Peer::hang_up()
{
    std::lock_guard lock(mutex_);
    if (client_ >= 0) shutdown(client_, SHUT_RDWR);
}

static int start_classic(const char* address, int port, int model)
{
    if (!m_nThreadIsRun) KX_API_Init(nullptr);
    const int sockfd = Arm_Socket_Start(address, port, model, 0);
    EXPECT_LT(Get_Socket_Idx(sockfd), m_nSockInfoLen) << "not connected";
    return sockfd;
}

const ConnectionKind classic = {true, start_classic, Arm_Socket_Close, [](int ms) { m_nOutTime = ms; }};

const ConnectionKind link_kind = {
    false,
    [](const char* address, int port, int model) { return KX_Link_Open(address, port, model, nullptr); },
    [](int handle) { KX_Link_Close(handle); }, [](int ms) { KX_Link_Call_Timeout(ms); }};

Arm::Arm(int model, const ConnectionKind& way) : kind(way), sockfd(way.open("127.0.0.1", peer.port(), model))
{
}

Arm::~Arm()
{
    kind.close(sockfd);
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
    marker.peer.send("set_vehicle\n");
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
