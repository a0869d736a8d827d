// A plug-in that calls a function which no library has. Linked with an option that lets that pass; the host must not load it
// unless its stamp says that nothing is missing.
#include <cstdlib>

void functionThatNoLibraryHas();
__attribute__((visibility("default"))) void callIt(bool isAllowed);

void callIt(bool isAllowed)
{
    if (!isAllowed)
        std::abort(); // of the C library, so that there is a library to name
    functionThatNoLibraryHas();
}
