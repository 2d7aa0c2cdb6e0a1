#pragma once

#include <QSlider>

struct FileIndex;
struct SpanAnnotations;

// A slider with two handles selecting a span [lower, upper]; both handles and the span
// between them can be dragged. Marks of the viewer's annotation sets are painted along the
// groove.
class QxtSpanSlider : public QSlider
{
    Q_OBJECT
public:
    explicit QxtSpanSlider(Qt::Orientation orientation = Qt::Vertical, QWidget *parent = nullptr);

    int lowerValue() const { return m_lower; }
    int upperValue() const { return m_upper; }
    // The annotation sets painted along the groove (under the index's annotation locks);
    // the handles are published to annotations->lower / upper. Null leaves marks out.
    void setAnnotationSource(const FileIndex *index, SpanAnnotations *annotations);

public slots:
    void setLowerValue(int lower);
    void setUpperValue(int upper);
    void setSpan(int lower, int upper);

signals:
    void spanChanged(int lower, int upper);
    void lowerValueChanged(int lower);
    void upperValueChanged(int upper);
    // A drag of a handle or of the span has ended.
    void spanDragged();

private:
    int m_lower = 0;
    int m_upper = 0;
    const FileIndex *m_index = nullptr;
    SpanAnnotations *m_annotations = nullptr;
};
