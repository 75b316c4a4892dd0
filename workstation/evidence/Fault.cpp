// Damage found in the slot of a stream file.
#include "evidence/Fault.h"

namespace workstation::evidence {

char const* Name(FaultKind kind) {
    switch (kind) {
    case FaultKind::sync:
        return "sync";
    case FaultKind::continuity:
        return "continuity";
    case FaultKind::tick:
        return "tick";
    case FaultKind::zeros:
        return "zeros";
    case FaultKind::unreadable:
        return "unreadable";
    case FaultKind::transportError:
        return "transport_error";
    }
    return "";
}

} // namespace workstation::evidence
