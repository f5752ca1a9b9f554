// Qt before X11: Xlib's macros break Qt's headers.
#include <QByteArray>
#include "glfunctions.h"

#include <dlfcn.h>

bool GlFunctions::load(std::string &error)
{
    if (handle)
        return true;
    QByteArray name = qgetenv("CALDERWICK_GL_LIBRARY");
    if (name.isEmpty())
        name = "libGL.so.1";
    void *library = dlopen(name.constData(), RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        const char *reason = dlerror();
        error = reason ? reason : "cannot open " + name.toStdString();
        return false;
    }
    auto lookup = reinterpret_cast<void *(*)(const GLubyte *)>(dlsym(library, "glXGetProcAddressARB"));
    auto resolve = [&](const char *symbol) -> void * {
        void *address = dlsym(library, symbol);
        if (!address && lookup)
            address = lookup(reinterpret_cast<const GLubyte *>(symbol));
        return address;
    };
#define SYLVANE_GL_RESOLVE(fn)                                                                                        \
    fn = reinterpret_cast<decltype(fn)>(resolve(#fn));                                                                \
    if (!fn) {                                                                                                        \
        error = std::string(name.constData()) + " lacks " #fn;                                                        \
        dlclose(library);                                                                                             \
        return false;                                                                                                 \
    }
    SYLVANE_GL_FUNCTIONS(SYLVANE_GL_RESOLVE)
#undef SYLVANE_GL_RESOLVE
    handle = library;
    return true;
}
