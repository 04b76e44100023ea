#include "line/replay.h"

#include <algorithm>
#include <climits>
#include <istream>
#include <stdexcept>

#include "commands/command.h"
#include "commands/request.h"
#include "kx/replies.h"
#include "line/recorder.h"
#include "line/secrets.h"

namespace kx::sim {

namespace {

constexpr int nothing = 0; // no key code

constexpr double longest = 1e9; // s

std::string text_of(const Json& line)
{
    return line.is_string() ? line.get<std::string>() : printed(line);
}

/** By which requests are compared; the order of their members does not matter. */
std::string content(const Json& request)
{
    return request.is_object() ? nlohmann::json(request).dump() : text_of(request);
}

int awaited_by(const Json& request)
{
    const auto name = request.is_object() ? request.find("command") : request.end();
    if (name == request.end() || !name->is_string()) return nothing;
    const Command* command = find_command(name->get_ref<const std::string&>());
    return Get_Json_KeyCode(command ? std::string(command->recognised_by).c_str()
                                    : name->get_ref<const std::string&>().c_str());
}

} // namespace

Replay::Replay(std::istream& recording, const std::string& name)
{
    std::map<int, Asker> clients;
    std::string line;
    int number = 1;
    for (; std::getline(recording, line); ++number) {
        try {
            if (nested_too_deeply(line)) throw std::invalid_argument("nested too deeply");
            const Json entry = Json::parse(line);
            if (number > 1)
                read(entry, clients);
            else if (entry.at("recording") != "kx-controller" || entry.at("version") != 1)
                throw std::invalid_argument("another version");
        } catch (const std::exception& wrong) {
            throw std::runtime_error(name + ':' + std::to_string(number) +
                                     ": this is no line of a recording: " + wrong.what());
        }
    }
    if (number == 1 || !recording.eof()) throw std::runtime_error("cannot read the recording " + name);
}

void Replay::read(const Json& entry, std::map<int, Asker>& clients)
{
    const double time = number(entry.at("time"), "the time", 0, longest);
    Asker& client = clients[integer(entry.at("client"), "the client", 0, INT_MAX)];
    if (const auto request = entry.find("request"); request != entry.end()) {
        client.last = exchanges_.size();
        client.waiting.emplace(awaited_by(*request), client.last);
        by_content_[content(*request)].exchanges.push_back(client.last);
        exchanges_.push_back({time, {}});
    } else if (const auto reply = entry.find("reply"); reply != entry.end() && client.last != Asker::none) {
        // It belongs to the first request that still awaits such a line, since motions are answered at their
        // end; a line that none awaits followed the last one.
        const std::string text = text_of(*reply);
        const int key = Get_Json_KeyCode(text.c_str());
        const auto asked = client.waiting.lower_bound({key, 0});
        const bool is_awaited = asked != client.waiting.end() && asked->first == key;
        Exchange& exchange = exchanges_[is_awaited ? asked->second : client.last];
        exchange.lines.push_back({time - exchange.time, text + '\n'});
        if (is_awaited) client.waiting.erase(asked);
    }
}

const std::vector<Replay::Line>* Replay::answer(const std::string& request)
{
    const auto found = by_content_.find(content(as_recorded(without_secrets(request))));
    if (found == by_content_.end()) return nullptr;
    auto& [exchanges, used] = found->second;
    used = std::min(used + 1, exchanges.size());
    return &exchanges_[exchanges[used - 1]].lines;
}

std::size_t Replay::unused() const
{
    std::size_t count = 0;
    for (const auto& [content, same] : by_content_)
        count += same.exchanges.size() - same.used;
    return count;
}

} // namespace kx::sim
