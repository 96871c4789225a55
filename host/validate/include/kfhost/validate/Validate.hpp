// `kfhost validate`: puts add-on bundles through what a host may do to them, each check in a child
// process of its own, and reports what each check found.
#pragma once

#include <cstdint>
#include <string_view>

namespace kfhost::validate {

// argv[0] is "validate". Answers the exit status: 0 when every check passed, 1 when one failed,
// 2 for a bad command line.
int Main(int argc, char** argv);

// Runs one check in this process and answers whether it passed; what it reports goes to reportFd
// (-1: nowhere). For measuring the cost of a child process against the check itself.
bool RunCheckHere(std::string_view check, std::string_view bundle, std::string_view scratchFolder, int strictness,
                  std::uint64_t seed, int reportFd = -1);
// Runs one check as `kfhost validate` does, in a forked child with a scratch folder of its own, and
// answers whether it did not fail.
bool RunCheckIsolated(std::string_view check, std::string_view bundle, int strictness, std::uint64_t seed);

} // namespace kfhost::validate
