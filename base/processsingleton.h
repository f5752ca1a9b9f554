#pragma once

#include <QCoreApplication>
#include <QMutex>
#include <QMutexLocker>

// The lifetime of a process-wide QObject: made by the first instance(), on any thread, then
// moved to the application's thread; destroy() runs as a post routine of the application,
// so the object goes while QCoreApplication still exists. T befriends this class.
template <typename T>
class ProcessSingleton
{
public:
    static T *instance()
    {
        QMutexLocker lock(&s_mutex);
        if (!s_object) {
            s_object = new T;
            if (QCoreApplication *app = QCoreApplication::instance()) {
                s_object->moveToThread(app->thread());
                qAddPostRoutine(&ProcessSingleton::destroy);
            }
        }
        return s_object;
    }

    // Deletes the object; harmless when there is none. A later instance() makes a new one.
    static void destroy()
    {
        T *object = nullptr;
        {
            QMutexLocker lock(&s_mutex);
            std::swap(object, s_object);
        }
        delete object;
    }

    // Calls f with the object, or null when none exists, without creating one.
    template <typename F>
    static void withExisting(F f)
    {
        QMutexLocker lock(&s_mutex);
        f(static_cast<const T *>(s_object));
    }

private:
    static inline QBasicMutex s_mutex;
    static inline T *s_object = nullptr;
};
