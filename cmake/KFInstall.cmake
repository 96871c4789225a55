# install rules and the CMake package
