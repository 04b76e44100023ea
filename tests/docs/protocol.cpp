// Prints the table of the protocol's page: every command of the list, as it is called, what it puts on the wire, and a
// reply that it takes for success.
#include "list/command.h"

#include <cstdio>
#include <set>

using namespace list;

static std::string call(const Command& row)
{
    std::string arguments = row.arguments.empty() ? "arm" : "arm, " + row.arguments;
    const size_t flag = arguments.find("block");
    if (flag != arguments.npos)
        arguments.replace(flag, 5, "true");
    else if (row.has_block_flag)
        arguments += ", true";
    else if (row.has_outputs)
        arguments += ", ...";
    return row.name + "(" + arguments + ")";
}

static std::string reply(const Command& row)
{
    switch (row.ending) {
    case Ending::nothing:
        return "none awaited";
    case Ending::push:
        return "push `" + row.reply + "`";
    default:
        return row.cases().empty() ? "none is taken for its own" : "`" + row.good_reply() + "`";
    }
}

int main()
{
    for (const Family& family : all_families()) {
        printf("\n## %s\n\n| call | request | reply |\n|---|---|---|\n", family.title);
        std::set<std::string> shown;
        for (const Command& row : family.commands)
            if (shown.insert(row.name).second)
                printf("| `%s` | `%s` | %s |\n", call(row).c_str(), row.blocking_request.c_str(),
                       reply(row).c_str());
    }
}
