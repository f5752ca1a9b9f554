#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

// Server replies are read by the script engine, as the cloud has always been read. A reply is
// outside input: its evaluation is aborted after EvaluationLimitMs, so that a hostile body
// (an endless loop between the parentheses) cannot hang the player.
namespace ScriptJson {

constexpr int EvaluationLimitMs = 2000;

// The body as ASCII text, cut at the first NUL byte.
QString replyText(const QByteArray &body);

// Evaluates "(" + content + ")". True when the value is an object (arrays included), which
// is then converted into value; false for anything else, a syntax error or an abort.
bool evaluate(const QString &content, QVariant &value, int limitMs = EvaluationLimitMs);

} // namespace ScriptJson
