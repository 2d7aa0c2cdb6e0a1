// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/ui/qtviloplotviewsettings.h"

#include <QSettings>

namespace {
QString groupOf(const QString &name)
{
    return QStringLiteral("QtVilo%1PlotSettingsValues").arg(name);
}
QString plotKey(const QString &name, const char *key)
{
    return QStringLiteral("%1Plot%2").arg(name, QLatin1String(key));
}
} // namespace

bool QtViloPlotViewSettings::operator==(const QtViloPlotViewSettings &o) const
{
    return legendEnable == o.legendEnable && legendPosition == o.legendPosition &&
           legendItemEnable == o.legendItemEnable && legendItemColumns == o.legendItemColumns &&
           legendItemAlignment == o.legendItemAlignment &&
           legendItemBackground == o.legendItemBackground && legendItemSize == o.legendItemSize &&
           newCurveZoomReset == o.newCurveZoomReset && visRescale == o.visRescale &&
           rePlotZoomReset == o.rePlotZoomReset && showMaxMin == o.showMaxMin &&
           lineWidth == o.lineWidth && symbolSize == o.symbolSize;
}

QtViloPlotViewSettings loadPlotViewSettings(const QString &name)
{
    QtViloPlotViewSettings v;
    QSettings settings;
    settings.beginGroup(groupOf(name));
    v.legendEnable = settings.value(QStringLiteral("LegendEnable"), v.legendEnable).toBool();
    v.legendPosition =
        qBound(0, settings.value(QStringLiteral("LegendPosition"), v.legendPosition).toInt(), 3);
    v.legendItemEnable =
        settings.value(QStringLiteral("LegendItemEnable"), v.legendItemEnable).toBool();
    v.legendItemColumns = qBound(
        1, settings.value(QStringLiteral("LegendItemNofColumns"), v.legendItemColumns).toInt(), 16);
    v.legendItemAlignment =
        settings.value(QStringLiteral("LegendItemAlignment"), v.legendItemAlignment).toInt();
    const QColor background(
        settings.value(QStringLiteral("LegendItemBackground"), QString()).toString());
    if (background.isValid())
        v.legendItemBackground = background;
    v.legendItemSize =
        qBound(4, settings.value(QStringLiteral("LegendItemSize"), v.legendItemSize).toInt(), 48);
    v.newCurveZoomReset =
        settings.value(plotKey(name, "NewCurveZoomReset"), v.newCurveZoomReset).toBool();
    v.visRescale = settings.value(plotKey(name, "VisRescale"), v.visRescale).toBool();
    v.rePlotZoomReset =
        settings.value(plotKey(name, "RePlotZoomReset"), v.rePlotZoomReset).toBool();
    v.showMaxMin = settings.value(plotKey(name, "ShowMaxMin"), v.showMaxMin).toBool();
    v.lineWidth = qBound(1, settings.value(plotKey(name, "LineWidth"), v.lineWidth).toInt(), 20);
    v.symbolSize = qBound(0, settings.value(plotKey(name, "SymbolSize"), v.symbolSize).toInt(), 40);
    return v;
}

void savePlotViewSettings(const QString &name, const QtViloPlotViewSettings &v)
{
    QSettings settings;
    settings.beginGroup(groupOf(name));
    settings.setValue(QStringLiteral("LegendEnable"), v.legendEnable);
    settings.setValue(QStringLiteral("LegendPosition"), v.legendPosition);
    settings.setValue(QStringLiteral("LegendItemEnable"), v.legendItemEnable);
    settings.setValue(QStringLiteral("LegendItemNofColumns"), v.legendItemColumns);
    settings.setValue(QStringLiteral("LegendItemAlignment"), v.legendItemAlignment);
    // "#AARRGGBB" keeps the transparency and reads well in the settings file.
    settings.setValue(QStringLiteral("LegendItemBackground"),
                      v.legendItemBackground.name(QColor::HexArgb));
    settings.setValue(QStringLiteral("LegendItemSize"), v.legendItemSize);
    settings.setValue(plotKey(name, "NewCurveZoomReset"), v.newCurveZoomReset);
    settings.setValue(plotKey(name, "VisRescale"), v.visRescale);
    settings.setValue(plotKey(name, "RePlotZoomReset"), v.rePlotZoomReset);
    settings.setValue(plotKey(name, "ShowMaxMin"), v.showMaxMin);
    settings.setValue(plotKey(name, "LineWidth"), v.lineWidth);
    settings.setValue(plotKey(name, "SymbolSize"), v.symbolSize);
}
