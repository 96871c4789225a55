// What the probe add-on saw, for tests that link it into the test program.
#pragma once

#include <string>

namespace probe {

struct State {
    int release = 0;
    int initialized = 0;
    int freed = 0;
    int unregisteredMenuCalls = 0;
    int commandCalls = 0;
    int timerFired = 0;
    short lastModalResult = 0;
    short lastIcon = 0; // what the modal dialog's icon item showed as it closed
    short modelessID = 0;
    std::string lastChoice; // folder or file chosen, "" after a cancel
    std::string name;       // the name the environment check reports, when not empty
    std::string description;
};

State& Get();

} // namespace probe
