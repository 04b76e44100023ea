// Every command of the list, put to the virtual controller in process: it is answered under the name and the key by which
// the library awaits the answer.
#include "commands/json.h"
#include "commands/virtual_controller.h"
#include "list/command.h"
#include "support/listener.h"

#include <gtest/gtest.h>

using kx::sim::Json;

// Whether a reply can be decoded: a status that says yes or no, or all that is read; a refusal says why.
static bool is_answer(const list::Command& row, const std::string& line)
{
    const Json reply = Json::parse(line);
    if (!row.status_key.empty()) return reply.value(row.status_key, Json()).is_boolean();
    if (row.ending == list::Ending::push || reply.contains("error")) return true;
    const Json& holder = row.inside.empty() ? reply : reply.at(row.inside);
    for (const list::Member& member : row.members)
        if (holder.value(member.key, Json()).type_name() !=
            std::string(Json::parse(member.value).type_name()))
            return false;
    return true;
}

TEST(List, IsServedByTheVirtualController)
{
    for (int model : {36, 46, 47}) {
        kx::sim::Controller controller(model, [](const std::string&) {});
        double time = 0;
        for (const list::Family& family : list::all_families())
            for (const list::Command& row : family.commands) {
                std::vector<std::string> lines;
                controller.handle(row.request, time,
                                  listener([&](const std::string& line) { lines.push_back(line); }));
                for (int minute = 0; minute < 3; ++minute)
                    controller.advance(time += 60);
                if (row.answer == 0) continue; // nobody awaits one
                const auto answer = std::find_if(lines.begin(), lines.end(), [&](const std::string& line) {
                    return Get_Json_KeyCode(line.c_str()) == row.answer;
                });
                const bool is_answered = answer != lines.end() && is_answer(row, *answer);
                const bool is_expected = row.request.starts_with("{\"command\"") && !row.cases().empty();
                EXPECT_EQ(is_answered, is_expected)
                    << row.name << ": " << (lines.empty() ? "nothing" : lines.front());
            }
    }
}
