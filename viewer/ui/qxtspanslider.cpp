#include "viewer/ui/qxtspanslider.h"

#include "viewer/core/fileindex.h"

QxtSpanSlider::QxtSpanSlider(Qt::Orientation orientation, QWidget *parent)
    : QSlider(orientation, parent)
{
}

void QxtSpanSlider::setAnnotationSource(const FileIndex *index, SpanAnnotations *annotations)
{
    m_index = index;
    m_annotations = annotations;
}

void QxtSpanSlider::setLowerValue(int lower)
{
    setSpan(lower, m_upper);
}

void QxtSpanSlider::setUpperValue(int upper)
{
    setSpan(m_lower, upper);
}

void QxtSpanSlider::setSpan(int lower, int upper)
{
    lower = qBound(minimum(), lower, maximum());
    upper = qBound(minimum(), upper, maximum());
    if (lower > upper)
        std::swap(lower, upper);
    if (lower == m_lower && upper == m_upper)
        return;
    m_lower = lower;
    m_upper = upper;
    if (m_annotations) {
        m_annotations->lower = lower;
        m_annotations->upper = upper;
    }
    emit lowerValueChanged(lower);
    emit upperValueChanged(upper);
    emit spanChanged(lower, upper);
    update();
}
