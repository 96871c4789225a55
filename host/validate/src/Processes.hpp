// The processes a check's process has under it: an add-on that starts one and leaves it running has
// it named and ended, so that nothing it does later is laid at the door of a later call.
#pragma once

#include <sys/types.h>

#include <set>
#include <vector>

namespace kfhost::validate {

// Makes this process the one that orphans below it are handed to, so that a process an add-on
// started and left (even through a double fork) stays among its children.
void AdoptOrphans();
// The processes whose parent is this process (any of its threads).
std::vector<pid_t> ChildProcesses();
// Ends the process and everything it started that is still around, and reaps what becomes ours.
void EndProcess(pid_t pid);
// Ends every child process (the whole line under each) but those in keep, and reaps them.
void EndChildProcesses(const std::set<pid_t>& keep = {});

} // namespace kfhost::validate
