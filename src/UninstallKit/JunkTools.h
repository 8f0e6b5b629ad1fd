#pragma once
// The programs whose running holds a tool's files back: while one of them
// runs, its cache or a project's output is in use.

#include <set>
#include <string>

namespace tessel::JunkTools {

inline const std::set<std::string> node{"node", "npm", "npx", "yarn", "pnpm", "bun", "deno"};
inline const std::set<std::string> python{"python", "python3", "pip", "pip3", "uv", "poetry", "pdm", "pipenv"};
inline const std::set<std::string> gradle{"java", "gradle"};
inline const std::set<std::string> flutter{"flutter", "dart", "dartaotruntime", "java", "gradle", "xcodebuild"};
inline const std::set<std::string> go{"go", "gopls"};
inline const std::set<std::string> cargo{"cargo", "rustc", "rust-analyzer"};
inline const std::set<std::string> none{};

} // namespace tessel::JunkTools
