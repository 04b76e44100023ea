// Descriptions of the arms for other people's programs.
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "arm.h"
#include "commands.h"
#include "description/description.h"

namespace kx::tool {

namespace {

int described_model(const Given& given)
{
    const int model = given.described.value_or(given.model);
    if (model == 0) throw WrongUse("the model is needed: 36, 46 (six joints) or 47 (seven)");
    return model;
}

/** @throws Failed when it cannot be written */
void write(const std::filesystem::path& path, const std::string& contents)
{
    std::ofstream file(path, std::ios::binary);
    file << contents << std::flush;
    if (!file) throw Failed{bad_file, "cannot write " + path.string() + ": " + std::strerror(errno)};
}

Answer give(const Given& given, std::string (*describe)(const description::Options&))
{
    const std::string text = describe({described_model(given), given.prefix, given.meshes});
    if (given.output.empty())
        std::cout << text << std::flush;
    else
        write(given.output, text);
    Answer answer;
    answer.is_printed = given.output.empty();
    return answer;
}

} // namespace

Answer urdf(const Given& given)
{
    return give(given, description::urdf);
}

Answer srdf(const Given& given)
{
    return give(given, description::srdf);
}

Answer mjcf(const Given& given)
{
    return give(given, description::mjcf);
}

Answer meshes(const Given& given)
{
    for (const auto& [name, contents] : description::meshes(described_model(given))) {
        const std::filesystem::path path = std::filesystem::path(given.output) / name;
        std::error_code error; // which writing will find, too
        std::filesystem::create_directories(path.parent_path(), error);
        write(path, contents);
    }
    return {};
}

} // namespace kx::tool
