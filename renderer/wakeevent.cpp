#include "wakeevent.h"

#include <cstdint>
#include <sys/eventfd.h>
#include <unistd.h>

WakeEvent::WakeEvent() : fd(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}

WakeEvent::~WakeEvent()
{
    if (fd >= 0)
        close(fd);
}

void WakeEvent::wake()
{
    const uint64_t one = 1;
    // A full counter already means "wake up"; nothing is lost when the write fails.
    [[maybe_unused]] ssize_t written = write(fd, &one, sizeof one);
}

void WakeEvent::drain()
{
    uint64_t count = 0;
    [[maybe_unused]] ssize_t got = read(fd, &count, sizeof count);
}
