// Every command of the list, put to the virtual controller in process: it is answered under the name and the key by which
// the library awaits the answer.
#include "list/command.h"
#include "simulator/scenario.h"

using kx::sim::Json;

// Whether a reply can be decoded: a status that says yes or no, or all that is read; a refusal says why.
static bool is_answer(const list::Command& row, const Json& reply)
{
    if (!row.status_key.empty()) return reply.value(row.status_key, Json()).is_boolean();
    if (row.ending == list::Ending::push || reply.contains("error")) return true;
    const Json& holder = row.inside.empty() ? reply : reply.at(row.inside);
    return std::ranges::all_of(row.members, [&](const list::Member& member) {
        return holder.value(member.key, Json()).type_name() ==
               std::string(Json::parse(member.value).type_name());
    });
}

TEST(List, IsServedByTheVirtualController)
{
    for (int model : {36, 46, 47}) {
        Scenario arm(model);
        for (const list::Family& family : list::all_families())
            for (const list::Command& row : family.commands) {
                arm.came.clear();
                arm.controller.handle(row.request, arm.time, arm.client());
                for (int minute = 0; minute < 3; ++minute)
                    arm.controller.advance(arm.time += 60);
                if (row.answer == 0) continue; // nobody awaits one
                const auto answer = std::ranges::find_if(arm.came, [&](const Json& line) {
                    return Get_Json_KeyCode(line.dump().c_str()) == row.answer;
                });
                const bool is_answered = answer != arm.came.end() && is_answer(row, *answer);
                const bool is_expected = row.request.starts_with("{\"command\"") && !row.cases().empty();
                EXPECT_EQ(is_answered, is_expected)
                    << row.name << ": " << (arm.came.empty() ? Json("nothing") : arm.came.front());
            }
    }
}
