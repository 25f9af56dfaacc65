#pragma once

#include "base/Outcome.h"

#include <string>
#include <vector>

namespace krxservice {

/// What the command line says.
struct Options
{
    enum class Wish { Run, Check, Help, Version };

    Wish wish = Wish::Run;
    int port = 58885;          ///< 0 lets the system choose one
    std::string dataFolder;    ///< absolute; made when missing
    double settleSeconds = 2;  ///< how long a file must stand still before it is taken
    double rescanSeconds = 10; ///< how often watched folders are read again, whatever the events said

    /// Reads \a arguments (without the program's name). A refusal carries the text for the person.
    static Outcome<Options> parse(const std::vector<std::string>& arguments);

    static std::string helpText();
};

} // namespace krxservice
