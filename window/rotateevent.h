#pragma once

#include <QEvent>

// Posted by the render library's rotation callback to the application object, so that
// the window turns on the main thread.
class RotateEvent : public QEvent
{
public:
    static constexpr QEvent::Type Type = static_cast<QEvent::Type>(QEvent::User + 1);

    explicit RotateEvent(float angle) : QEvent(Type), m_angle(angle) {}
    float angle() const { return m_angle; }

private:
    float m_angle;
};
