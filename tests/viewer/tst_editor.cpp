#include "testenv.h"

#include <QtTest>

class Tst : public QObject
{
    Q_OBJECT
private slots:
    void placeholder() {}
};

QTEST_MAIN(Tst)
#include "tst_editor.moc"
