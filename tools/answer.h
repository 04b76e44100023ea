// What a command of kx found out, for people and for programs.
#pragma once

#include <string>
#include <vector>

#include <kx_base.h>

namespace kx::tool {

/** One quantity: a line of the plain form, a member of the JSON form. */
struct Row {
    std::string name;
    const char* unit; ///< "" for whole numbers
    std::vector<double> values;
    bool is_array = true; ///< in JSON; else the one value alone
};

struct Answer {
    int status = 0; ///< of the library, and of the program
    std::vector<Row> rows;
    std::string why = KX_Status_Words(status); ///< it is not 0
    bool is_printed = false;                   ///< already, in a form of its own
};

/** Prints the rows to standard output, as a table or as one line of JSON with the status. */
void print(const Answer& answer, bool as_json);

} // namespace kx::tool
