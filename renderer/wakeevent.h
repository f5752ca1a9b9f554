#pragma once

// A file descriptor that a thread sleeping in poll() can be woken through.
class WakeEvent
{
public:
    WakeEvent();
    ~WakeEvent();
    WakeEvent(const WakeEvent &) = delete;
    WakeEvent &operator=(const WakeEvent &) = delete;

    bool isValid() const { return fd >= 0; }
    int descriptor() const { return fd; }
    // Safe from any thread; wakes coalesce until drain().
    void wake();
    void drain();

private:
    int fd = -1;
};
