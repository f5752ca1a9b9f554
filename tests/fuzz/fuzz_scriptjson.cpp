// Cloud replies as the player reads them: the text of a body, checked and evaluated by the
// script engine, then taken apart into the records the replies carry (templates, the user,
// single values such as a login's "email" or a version's "url").

#include "clouduser.h"
#include "fuzzsupport.h"
#include "scriptjson.h"
#include "vmtemplate.h"

#include <QCoreApplication>

#include <cstdint>

// The script engine keeps 16 bytes for good on every syntax error: its own, not ours.
extern "C" const char *__lsan_default_suppressions()
{
    return "leak:libQt5Script.so";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static int argc = 1;
    static char name[] = "fuzz_scriptjson";
    static char *argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv); // the evaluation's guard timer needs one
    FuzzSupport::silenceLog();

    const QString text = ScriptJson::replyText(QByteArray::fromRawData(reinterpret_cast<const char *>(data), int(size)));
    QVariant value;
    if (!ScriptJson::evaluate(text, value))
        return 0;
    const QVariantMap map = value.toMap();
    CloudUser user(map);
    VmTemplate single(map);
    for (const QVariant &element : value.toList())
        VmTemplate(element.toMap()).toString(2);
    map.value(QStringLiteral("data")).toMap().value(QStringLiteral("desc")).toString();
    single.toString(0);
    return 0;
}
