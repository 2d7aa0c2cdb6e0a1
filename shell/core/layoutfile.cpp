// SPDX-License-Identifier: LGPL-3.0-or-later
#include "shell/core/layoutfile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <memory>

namespace LayoutFile {

namespace {
QString tr(const char *text)
{
    return QCoreApplication::translate("MainWindow", text);
}
} // namespace

QString readErrorText(const QString &path)
{
    return tr("Error reading %1").arg(QDir::toNativeSeparators(path));
}

Result write(const QString &path, const Contents &contents)
{
    // QSaveFile writes a temporary beside the file and renames it over the file on commit(), so
    // a crash, a full disk or a failed write leaves the previous layout whole. Something that
    // is not a regular file (a device, a pipe) cannot be replaced that way and is written as is.
    const QFileInfo target(path);
    std::unique_ptr<QFileDevice> file;
    if (target.exists() && !target.isFile())
        file = std::make_unique<QFile>(path);
    else
        file = std::make_unique<QSaveFile>(path);
    if (!file->open(QIODevice::WriteOnly)) {
        return {Status::OpenFailed, tr("Failed to open %1\n%2")
                                        .arg(QDir::toNativeSeparators(path), file->errorString())};
    }
    // The length is one byte: a longer geometry is cut and the file will not load back.
    const char length = char(quint8(contents.geometry.size()));
    bool written = file->write(&length, 1) == 1 &&
                   file->write(contents.geometry) == contents.geometry.size() &&
                   file->write(contents.state) == contents.state.size();
    if (auto *save = qobject_cast<QSaveFile *>(file.get()))
        written = written && save->commit(); // without commit() the temporary is dropped
    else
        written = written && file->flush();
    if (!written) {
        return {Status::WriteFailed, tr("Error writing to %1\n%2")
                                         .arg(QDir::toNativeSeparators(path), file->errorString())};
    }
    return {};
}

Result read(const QString &path, Contents *contents)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {Status::OpenFailed, tr("Failed to open %1\n%2")
                                        .arg(QDir::toNativeSeparators(path), file.errorString())};
    }
    char length = 0;
    if (file.read(&length, 1) != 1)
        return {Status::ReadFailed, readErrorText(path)};
    const int geometryLength = quint8(length);
    contents->geometry = file.read(geometryLength);
    contents->state = file.readAll();
    if (contents->geometry.size() != geometryLength || contents->state.isEmpty())
        return {Status::ReadFailed, readErrorText(path)};
    return {};
}

} // namespace LayoutFile
