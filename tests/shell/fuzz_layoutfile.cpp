// SPDX-License-Identifier: LGPL-3.0-or-later
// libFuzzer target for the layout file reader: any file is refused or split into exactly the
// parts its length byte announces, and what it accepted writes back to the same bytes.
#include "shell/core/layoutfile.h"
#include "tests/support/fuzzcheck.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {
QString filePath(const char *name)
{
    return QDir::temp().filePath(
        QStringLiteral("fuzz_layoutfile_%1_%2").arg(QCoreApplication::applicationPid()).arg(name));
}

QByteArray contentsOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const QString input = filePath("input.layout");
    static const QString output = filePath("output.layout");
    const QByteArray bytes(reinterpret_cast<const char *>(data), int(size));
    {
        QFile file(input);
        check(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        check(file.write(bytes) == bytes.size());
    }

    LayoutFile::Contents contents;
    const LayoutFile::Result result = LayoutFile::read(input, &contents);
    const int announced = size > 0 ? int(data[0]) : -1;
    const bool fits = size > 0 && int(size) - 1 > announced;
    check(result.ok() == fits);
    check(result.ok() == result.message.isEmpty());
    if (!result.ok()) {
        check(result.status == LayoutFile::Status::ReadFailed);
        check(result.message == LayoutFile::readErrorText(input));
        QFile::remove(input);
        return 0;
    }
    check(contents.geometry == bytes.mid(1, announced));
    check(contents.state == bytes.mid(1 + announced));

    // Accepted parts go back into the same bytes, and those read back the same.
    check(LayoutFile::write(output, contents).ok());
    check(contentsOf(output) == bytes);
    LayoutFile::Contents again;
    check(LayoutFile::read(output, &again).ok());
    check(again.geometry == contents.geometry && again.state == contents.state);
    QFile::remove(input);
    QFile::remove(output);
    return 0;
}
