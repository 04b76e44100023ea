#include "line/replay.h"

#include <algorithm>
#include <climits>

#include "commands/command.h"
#include "commands/request.h"
#include "kx/replies.h"
#include "line/entries.h"
#include "line/secrets.h"
#include "recording/json_lines.h"

namespace kx::sim {

namespace {

constexpr int nothing = 0; // no key code

std::string text_of(const Json& line)
{
    return line.is_string() ? line.get<std::string>() : printed(line);
}

/** By which requests are compared; the order of their members does not matter, nor how they are spelled. */
std::string content(const Json& request)
{
    const Json read = request.is_object() ? request : parsed(text_of(request));
    return read.is_object() ? nlohmann::json(read).dump() : text_of(request);
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
    read_entries(recording, name, [this](const Json& entry, double time) {
        if (!entry.contains("stands")) read(entry, time);
    });
    clients_.clear();
}

/** @param time s since the begin */
void Replay::read(const Json& entry, double time)
{
    Asker& client = clients_[integer(entry.at("client"), "the client", 0, INT_MAX)];
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
    const auto found = by_content_.find(content(recording::as_recorded(without_secrets(request))));
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
