#pragma once

#include "viewer/ui/textpanel.h"

// The dockable viewer of one text or log file.
class EditorPanel : public TextPanel
{
    Q_OBJECT
public:
    static constexpr int MaxBlockCount = 4000;

    explicit EditorPanel(QWidget *parent = nullptr);

    QString filePath() const { return m_filePath; }
    bool isFileLoaded() const { return m_fileLoaded; }

public slots:
    bool openFile(const QString &path);
    void reloadFile();
    void onWatchedFileChanged(const QString &path);

signals:
    void FileLoaded(const QString &previousPath, const QString &currentPath);

private:
    QLabel *m_statusLabel;
    QString m_filePath;
    bool m_fileLoaded = false;
};
