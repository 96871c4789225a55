// The headless run loop keeps the contract of every run loop.
#include "RunLoopContract.hpp"

namespace kftest {

INSTANTIATE_TYPED_TEST_SUITE_P(Poll, RunLoopContract, kfhost::PollRunLoop);

} // namespace kftest
