#ifndef QDX_TESTS_CAPTURING_LOG_TARGET_H
#define QDX_TESTS_CAPTURING_LOG_TARGET_H

#include "support/LogTarget.h"

#include <string>
#include <vector>

/// Keeps every line the logger writes while it exists.
struct CapturingLogTarget : Norvane::QDXDesktopSDK::LogTarget {
    CapturingLogTarget() : LogTarget("capture") {}
    void Log(char const* line) override { lines.emplace_back(line); }
    bool Contains(std::string const& text, std::string const& level = "") const
    {
        for (std::string const& line : lines)
            if (line.find(text) != std::string::npos && line.find(level) != std::string::npos)
                return true;
        return false;
    }
    std::vector<std::string> lines;
};

#endif
