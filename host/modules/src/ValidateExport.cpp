// The one symbol of kfhost-validate.so that kfhost looks up: `kfhost validate ...`.
#include "kfhost/validate/Validate.hpp"

extern "C" __attribute__((visibility("default"))) int kfhost_validate_main(int argc, char** argv)
{
    return kfhost::validate::Main(argc, argv);
}
