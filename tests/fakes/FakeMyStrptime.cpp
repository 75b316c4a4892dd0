// Time parsing: the system's, recorded.
#include "MyStrptime.h"

#include "FakePlatform.h"
#include "Show.h"

char const* MyStrptime::mystrptime(char const* text, char const* format, tm* out) {
    FakePlatform::Get().Note("mystrptime(" + ShowAll(text, format) + ")");
    return strptime(text, format, out);
}
