#include "Bedrock/CommandLineSecrets.hpp"

#include <cstring>

namespace Bedrock
{
void overwriteCommandLineSecrets(int argc, char** argv) noexcept
{
    for (int i = 1; i < argc; ++i) {
        for (char* scheme = std::strstr(argv[i], "://"); scheme; scheme = std::strstr(scheme, "://")) {
            scheme += 3;
            const std::size_t length = std::strcspn(scheme, "/?#");
            std::size_t at = length;
            while (at > 0 && scheme[at - 1] != '@')
                --at;
            if (at > 1)
                std::memset(scheme, 'x', at - 1);
        }
    }
}
}
