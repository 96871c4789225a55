// The host's run loop on Qt's event loop keeps the contract of every run loop.
#include "RunLoopContract.hpp"

#include "kfhost/qt/QtRunLoop.hpp"

namespace kftest {

INSTANTIATE_TYPED_TEST_SUITE_P(Qt, RunLoopContract, kfhost::qt::QtRunLoop);

} // namespace kftest
