#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

// Cloud replies and the device's capabilities text are read by the script engine. Both are
// outside input, so only plain data is ever evaluated: refusal() turns away anything that
// could run or recurse deeply before the engine sees it, and the evaluation itself is still
// aborted after EvaluationLimitMs.
namespace ScriptJson {

constexpr int EvaluationLimitMs = 2000;
// Deepest nesting of arrays and objects taken; the engine's parser recurses per level.
constexpr int MaxNesting = 256;
// Most values (elements, members, arrays and objects) taken. The engine builds literals at a
// few microseconds each and cannot be interrupted while it does: this keeps a reply well
// inside the evaluation limit, where two million empty arrays took 3 to 9 s. The largest real
// reply, the template list, holds a few thousand.
constexpr int MaxValues = 100000;
// Longest text taken, the cap of a cloud reply body.
constexpr int MaxTextChars = 8 * 1024 * 1024;

// The body as ASCII text, cut at the first NUL byte.
QString replyText(const QByteArray &body);

// Empty when content is plain data: strings, numbers, true, false, null, brackets, braces,
// commas and colons, nested at most MaxNesting deep, at most MaxValues values and
// MaxTextChars characters. Otherwise why it is not (a name, a call, an operator, too deep, too long).
QString refusal(const QString &content);

// Evaluates "(" + content + ")" once refusal() has nothing against it. True when the value
// is an object (arrays included), which is then converted into value; false for anything
// else, a refused text (one warning), a syntax error or an abort.
bool evaluate(const QString &content, QVariant &value, int limitMs = EvaluationLimitMs);

} // namespace ScriptJson
