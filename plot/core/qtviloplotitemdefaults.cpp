#include "plot/core/qtviloplotitemdefaults.h"

bool QtViloPlotItemDefaults::operator==(const QtViloPlotItemDefaults &other) const
{
    return Format == other.Format && Step == other.Step && FileOffset == other.FileOffset &&
           DataOffset == other.DataOffset && MaxPlotSize == other.MaxPlotSize &&
           SampleRate == other.SampleRate && SampleResolution == other.SampleResolution &&
           InputRange == other.InputRange && Gain == other.Gain;
}
