#pragma once
// Environment variables set or removed for one test, the old values put back
// after it, so that tests run in one process don't see each other's settings.

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tessel::test {

class ScopedEnvironment {
public:
    ScopedEnvironment() = default;
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;
    ~ScopedEnvironment() {
        for (auto it = saved_.rbegin(); it != saved_.rend(); ++it) {
            if (it->second) setenv(it->first.c_str(), it->second->c_str(), 1);
            else unsetenv(it->first.c_str());
        }
    }

    void set(const std::string& name, const std::string& value) {
        save(name);
        setenv(name.c_str(), value.c_str(), 1);
    }
    void unset(const std::string& name) {
        save(name);
        unsetenv(name.c_str());
    }

private:
    void save(const std::string& name) {
        const char* old = std::getenv(name.c_str());
        saved_.emplace_back(name, old != nullptr ? std::optional<std::string>(old) : std::nullopt);
    }
    std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

} // namespace tessel::test
