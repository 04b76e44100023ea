#include "line/past.h"

#include "commands/request.h"
#include "line/entries.h"

namespace kx::sim {

namespace {

using Places = decltype(Past::places);

/** Whether so many lines of this command would hide the others. */
bool comes_often(const std::string& command)
{
    return command.starts_with("get_") || command.find("canf") != command.npos;
}

/** A member of an entry, which may be a text of JSON. */
Json told(const Json& entry, const char* key)
{
    const auto found = entry.find(key);
    if (found == entry.end()) return {};
    return found->is_string() ? parsed(found->get_ref<const std::string&>()) : *found;
}

std::string told_of(const Json& entry)
{
    const std::string client = "client " + std::to_string(entry.value("client", 0)) + ' ';
    if (const auto event = entry.find("event"); event != entry.end() && event->is_string())
        return (entry.value("client", 0) ? client : "") + event->get<std::string>();
    const Json request = told(entry, "request");
    const auto command = request.find("command");
    if (command == request.end() || !command->is_string() || comes_often(*command)) return "";
    return client + command->get<std::string>();
}

/** Without those that lie too close together, and those between two that are the same. */
Places thinned(const Places& all)
{
    Places kept;
    if (all.empty()) return kept;
    const double apart = (all.back().first - all.front().first) / Past::most_places;
    for (std::size_t i = 0; i < all.size(); ++i) {
        const bool is_last = i + 1 == all.size();
        if (!kept.empty() && !is_last &&
            (all[i].first - kept.back().first < apart ||
             (all[i].second == kept.back().second && all[i].second == all[i + 1].second)))
            continue;
        kept.push_back(all[i]);
    }
    return kept;
}

} // namespace

Past past_of(std::istream& recording, const std::string& name)
{
    Past past;
    Places by_replies;
    std::size_t more = 0;
    read_entries(recording, name, [&](const Json& entry, double time) {
        if (const auto stands = entry.find("stands"); stands != entry.end())
            return void(past.places.emplace_back(time, stands->get<std::vector<double>>()));
        if (auto joints = joints_told_by(told(entry, "reply")); !joints.empty())
            by_replies.emplace_back(time, std::move(joints));
        if (std::string text = told_of(entry); !text.empty()) {
            if (past.events.size() < Past::most_events)
                past.events.emplace_back(time, std::move(text));
            else
                ++more;
        }
    });
    if (more > 0) past.events.back().second += ", and " + std::to_string(more) + " more";
    past.places = thinned(past.places.empty() ? by_replies : past.places);
    return past;
}

} // namespace kx::sim
