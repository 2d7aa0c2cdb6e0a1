// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

// A layout file: one byte with the geometry length, the geometry, then the dock state.
namespace LayoutFile {

enum class Status { Ok, OpenFailed, WriteFailed, ReadFailed };

struct Result
{
    Status status = Status::Ok;
    QString message; // the text shown to the user when status is not Ok
    bool ok() const { return status == Status::Ok; }
};

struct Contents
{
    QByteArray geometry;
    QByteArray state;
};

// Replaces the file as a whole: it holds either its previous contents or the new ones.
Result write(const QString &path, const Contents &contents);
// Reads the parts; a file whose length byte promises more than it holds, or whose state
// part is empty, is a read failure.
Result read(const QString &path, Contents *contents);
QString readErrorText(const QString &path);

} // namespace LayoutFile
