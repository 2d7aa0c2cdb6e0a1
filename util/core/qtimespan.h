// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QString>
#include <QtGlobal>

// A signed length of time, kept as whole milliseconds. It knows no calendar: a year is
// always 365 days, a day always 24 hours.
class QTimeSpan
{
public:
    static constexpr qint64 MSecsPerSecond = 1000;
    static constexpr qint64 MSecsPerMinute = 60 * MSecsPerSecond;
    static constexpr qint64 MSecsPerHour = 60 * MSecsPerMinute;
    static constexpr qint64 MSecsPerDay = 24 * MSecsPerHour;
    static constexpr qint64 MSecsPerYear = 365 * MSecsPerDay;

    constexpr QTimeSpan() = default;
    constexpr explicit QTimeSpan(qint64 msecs) : m_msecs(msecs) {}
    // The time from one moment to another; negative when "to" comes first.
    QTimeSpan(const QDateTime &from, const QDateTime &to) : m_msecs(from.msecsTo(to)) {}

    static constexpr QTimeSpan fromMSecs(qint64 msecs) { return QTimeSpan(msecs); }
    static constexpr QTimeSpan fromSeconds(qint64 s) { return QTimeSpan(s * MSecsPerSecond); }
    static constexpr QTimeSpan fromMinutes(qint64 m) { return QTimeSpan(m * MSecsPerMinute); }
    static constexpr QTimeSpan fromHours(qint64 h) { return QTimeSpan(h * MSecsPerHour); }
    static constexpr QTimeSpan fromDays(qint64 d) { return QTimeSpan(d * MSecsPerDay); }
    static constexpr QTimeSpan fromYears(qint64 y) { return QTimeSpan(y * MSecsPerYear); }

    constexpr qint64 msecs() const { return m_msecs; }
    // Totals, cut toward zero.
    constexpr qint64 totalSeconds() const { return m_msecs / MSecsPerSecond; }
    constexpr qint64 totalMinutes() const { return m_msecs / MSecsPerMinute; }
    constexpr qint64 totalHours() const { return m_msecs / MSecsPerHour; }
    constexpr qint64 totalDays() const { return m_msecs / MSecsPerDay; }

    constexpr bool isZero() const { return m_msecs == 0; }
    constexpr bool isNegative() const { return m_msecs < 0; }

    // Whole parts of the length, all of them zero or positive whatever the sign: a span of
    // -90 seconds has 1 minute and 30 seconds. Years are unbounded, the others wrap.
    qint64 years() const { return qint64(magnitude() / quint64(MSecsPerYear)); }
    int days() const { return part(MSecsPerYear, MSecsPerDay); }
    int hours() const { return part(MSecsPerDay, MSecsPerHour); }
    int minutes() const { return part(MSecsPerHour, MSecsPerMinute); }
    int seconds() const { return part(MSecsPerMinute, MSecsPerSecond); }
    int milliseconds() const { return part(MSecsPerSecond, 1); }

    // The non-zero parts from years down to milliseconds, e.g. "1 hour, 2 minutes, 5 seconds",
    // with translated unit words; a zero span is "0 milliseconds". With maxUnits > 0 only
    // that many units are looked at, counting from the largest non-zero one, so the text
    // gets coarser rather than skipping a unit in the middle.
    QString toString(int maxUnits = 0) const;

    constexpr QTimeSpan operator-() const { return QTimeSpan(-m_msecs); }
    QTimeSpan &operator+=(QTimeSpan other) { m_msecs += other.m_msecs; return *this; }
    QTimeSpan &operator-=(QTimeSpan other) { m_msecs -= other.m_msecs; return *this; }
    friend constexpr QTimeSpan operator+(QTimeSpan a, QTimeSpan b)
    {
        return QTimeSpan(a.m_msecs + b.m_msecs);
    }
    friend constexpr QTimeSpan operator-(QTimeSpan a, QTimeSpan b)
    {
        return QTimeSpan(a.m_msecs - b.m_msecs);
    }
    friend constexpr QTimeSpan operator*(QTimeSpan a, qint64 factor)
    {
        return QTimeSpan(a.m_msecs * factor);
    }
    friend QDateTime operator+(const QDateTime &time, QTimeSpan span)
    {
        return time.addMSecs(span.m_msecs);
    }
    friend constexpr bool operator==(QTimeSpan a, QTimeSpan b) { return a.m_msecs == b.m_msecs; }
    friend constexpr bool operator!=(QTimeSpan a, QTimeSpan b) { return a.m_msecs != b.m_msecs; }
    friend constexpr bool operator<(QTimeSpan a, QTimeSpan b) { return a.m_msecs < b.m_msecs; }
    friend constexpr bool operator<=(QTimeSpan a, QTimeSpan b) { return a.m_msecs <= b.m_msecs; }
    friend constexpr bool operator>(QTimeSpan a, QTimeSpan b) { return a.m_msecs > b.m_msecs; }
    friend constexpr bool operator>=(QTimeSpan a, QTimeSpan b) { return a.m_msecs >= b.m_msecs; }

private:
    // Unsigned, so that the most negative span has a length too.
    constexpr quint64 magnitude() const
    {
        return m_msecs < 0 ? quint64(0) - quint64(m_msecs) : quint64(m_msecs);
    }
    constexpr int part(qint64 wrap, qint64 unit) const
    {
        return int(magnitude() % quint64(wrap) / quint64(unit));
    }

    qint64 m_msecs = 0;
};
