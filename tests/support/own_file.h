// A file of a test's own, which goes with it.
#pragma once

#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <unistd.h>

struct OwnFile {
    explicit OwnFile(const std::string& name = "file", const std::string& content = "")
        : path(testing::TempDir() + "kx_" + std::to_string(getpid()) + "_" + name)
    {
        if (!content.empty()) write(content);
    }
    OwnFile(const OwnFile&) = delete;
    ~OwnFile() { std::remove(path.c_str()); }

    void write(const std::string& content) const { std::ofstream(path, std::ios::binary) << content; }
    std::string content() const
    {
        std::ostringstream all;
        all << std::ifstream(path, std::ios::binary).rdbuf();
        return all.str();
    }

    const std::string path;
};
