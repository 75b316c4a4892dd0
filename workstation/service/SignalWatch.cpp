// The signals for the service, as a descriptor that poll(2) can wait for.
#include "service/SignalWatch.h"

#include <pthread.h>
#include <sys/signalfd.h>

#include "Failure.h"

namespace workstation::service {

SignalWatch::SignalWatch() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &signals, &former_);
    descriptor_.Reset(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!descriptor_) {
        throw SystemFailure("signalfd");
    }
}

SignalWatch::~SignalWatch() {
    pthread_sigmask(SIG_SETMASK, &former_, nullptr);
}

std::optional<int> SignalWatch::Take() {
    signalfd_siginfo signal{};
    if (read(descriptor_.Get(), &signal, sizeof(signal)) != sizeof(signal)) {
        return std::nullopt;
    }
    return static_cast<int>(signal.ssi_signo);
}

} // namespace workstation::service
