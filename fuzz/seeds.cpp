// Runs a target over files, where there is no libFuzzer.
#include "target.h"

#include <fstream>
#include <sstream>

int main(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        std::ifstream file(argv[i]);
        std::ostringstream text;
        text << file.rdbuf();
        require(file.good(), argv[i]);
        const std::string input = text.str();
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
    }
    require(argc > 1, "there are seeds");
}
