#pragma once

#include <QtGlobal>

class QNetworkReply;

// Bodies of cloud replies that are read into memory are held to a cap while they arrive,
// never checked after the whole body is in.
namespace ReplyLimit {

// The most any JSON reply of the cloud may carry; its largest, the template list, is a few
// hundred kilobytes.
constexpr qint64 MaxBodyBytes = 8 * 1024 * 1024;

// For replies read whole once finished. Aborts the reply, with one warning under tag, as soon
// as its announced length or the bytes waiting in it pass maxBytes. The reply then finishes with OperationCanceledError and no body,
// which its reader treats as any other failed reply.
void cap(QNetworkReply *reply, const char *tag, qint64 maxBytes = MaxBodyBytes);

} // namespace ReplyLimit
