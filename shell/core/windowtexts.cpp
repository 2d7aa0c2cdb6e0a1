// SPDX-License-Identifier: LGPL-3.0-or-later
#include "shell/core/windowtexts.h"

#include <QCoreApplication>

namespace {
QString tr(const char *text)
{
    return QCoreApplication::translate("MainWindow", text);
}
} // namespace

QString mainWindowTitle(const QString &applicationName, const QString &version)
{
    const QString head = applicationName.left(4).toUpper().leftJustified(4, QLatin1Char(' '));
    return head + applicationName.mid(4) + QStringLiteral(" - (Build ") + version +
           QStringLiteral(")");
}

QString aboutText(const QString &applicationName, int pointerBits, const QString &version)
{
    // The library versions and the build stamp are fixed texts of the About box.
    return tr("<b>%1 - Beta %2-bits (Build %3)</b><br><br>"
              "Based on Qt %4, Qwt %5 and FFTW %6 <br><br>"
              "Build on %7 %8.<br><br>"
              "This software is licensed under ")
               .arg(applicationName)
               .arg(pointerBits)
               .arg(version, QStringLiteral("5.15.3"), QStringLiteral("6.2.0"),
                    QStringLiteral("3.3.5"), QStringLiteral("Jan 26 2023"),
                    QStringLiteral("10:01:13")) +
           QStringLiteral("<a href=\"https://doc.qt.io/qt-5/lgpl.html\">LGPL</a><br><br>") +
           tr("%1 is a unifying stand-alone graphical interface for the command-line<br>"
              "tools that OKAV provides to maintain and debug VRX devices.<br>"
              "Those tools must be installed in the default location or be present<br>"
              "in the same directory as %1.<br><br>")
               .arg(applicationName) +
           tr("This application is provided AS IS with NO WARRANTY OF ANY KIND,<br>"
              "INCLUDING THE WARRANTY OF DESIGN, MERCHANTABILITY AND<br>"
              "FITNESS FOR A PARTICULAR PURPOSE.") +
           tr("<br><br>Support: <a href=\"mailto:support@okav.example\">support@okav.example</a>"
              " &mdash; <a href=\"https://okav.example/support\">okav.example/support</a>");
}

QString elapsedText(qint64 seconds)
{
    if (seconds < 0)
        seconds = 0;
    return QStringLiteral("%1:%2:%3:%4")
        .arg(seconds / 86400)
        .arg((seconds / 3600) % 24)
        .arg((seconds / 60) % 60)
        .arg(seconds % 60);
}

QString faqText(const QString &applicationName)
{
    return tr("<h3>%1 &mdash; frequently asked questions</h3>"
              "<p><b>How do I see the log of my acquisition program?</b><br>"
              "Start the monitor from the monitor panel (built-in server on 127.0.0.1, port "
              "55555). Every program that uses the device library connects by itself; its lines "
              "appear with a prompt naming the device, and everything is also written to a "
              "<i>vrxmon_*.okv</i> file in ~/.local/share/OKAV/.</p>"
              "<p><b>How do I plot a buffer of my program while it runs?</b><br>"
              "Log a line that holds <tt>RunCmd( 1, name, pointer, format, step, byte offset, "
              "sample offset, max plot size, sample rate, resolution, input range, gain, "
              "size in bytes);</tt>. The plot tool reads these fields by position; fields left "
              "out take the plot defaults, and a missing size reads nothing. (The template that "
              "the monitor panel copies puts the size before the format; write it in the order "
              "above.) Your program is held until the plot has read the memory, so the buffer "
              "stays valid; if the read fails, it is let go all the same and the failure is "
              "shown once. Reading another program's memory needs the right to trace it.</p>"
              "<p><b>Keys in the plot tool</b><br>"
              "F8 reads every listed item again and replots, F9 shows or hides the selected "
              "items, F10 clears the list. Drag with the left button to zoom in, right click to "
              "zoom back out, drag with the middle button to pan, and turn the wheel to zoom "
              "around the cursor.</p>"
              "<p><b>How do I see a spectrum, or measure between two points?</b><br>"
              "On the DSP plot choose <i>FFT dBFS</i> and a window: every shown item gets its "
              "spectrum, with the frequency axis from its sample rate. A request typed into an "
              "item's DSP column (for example <tt>FFT PSD;BlackmanHarris</tt> or "
              "<tt>Diff Signed</tt>) overrides the plot's choice for that item. The markers "
              "button shows two markers; drag them to read index, time and value of the "
              "selected curve (click its legend entry to select it) and their difference. The "
              "tool bar also steps back and forward through earlier zooms, locks the X or Y "
              "range while zooming, shows the max/min profile or the persistence of earlier "
              "traces, and exports the plot as a PDF.</p>"
              "<p><b>My log file has millions of lines. Will it open?</b><br>"
              "Yes. Files are indexed in the background and only a window of lines is loaded; "
              "drag the span slider beside the text to move through the file. Searches and the "
              "error and warning filters (Ctrl+S, Ctrl+E, Ctrl+W) cover the whole file.</p>"
              "<p><b>Which files go where?</b><br>"
              "Text and log files (.txt, .log, .okv, .c, .cpp, .h, .sh, .bat, .asc) open in "
              "editor docks; firmware files (.mcs, .mmcs, .zip) become updater tasks; every "
              "other file is offered to the plot tool. Drop files on the window or use "
              "File &gt; Open....</p>"
              "<p><b>Where do a firmware image's description and version come from?</b><br>"
              "From the file's name. The updater splits the name, without its suffix, at "
              "<tt>_</tt>, <tt>-</tt>, <tt>.</tt> and blanks. A part such as VRX14 names the "
              "device family; FW and the parts of a number followed by GS, CH, X, A or C (such "
              "as 10GS, 2CH, 4X or 8A) make the description, upper-cased and joined by "
              "<tt>_</tt> in the order they stand; the last part that is a number, optionally "
              "led by r, rev or v, is the version. So <i>VRX14_FW_2CH_10GS_r45123.mcs</i> gives "
              "the description FW_2CH_10GS and the version 45123, and "
              "<i>vrx7-fw-1ch-5gs-4x-rev1234.mmcs</i> gives FW_1CH_5GS_4X and 1234. Only when "
              "the name yields no description (none, or one longer than 16 characters) or no "
              "version does the updater ask for it: a description of at most 16 characters "
              "without blanks or quotes, and a version that is a whole number from 0 to "
              "4294967295 (32 bits, unsigned).</p>"
              "<p><b>How does a firmware task run?</b><br>"
              "Each task runs its macro: a predefined one from the Task Macro column, or a "
              "command line typed there (it must start with VRXUpdater or VRXLicenseUtil). %dv "
              "becomes the task's device (else the one chosen in the panel, else 0), %fp and %1 "
              "the file, %descr and %ver the image description and version. A task without a "
              "macro gets a command from its device family and file: --fpga=2 for .mmcs files "
              "of VRX7 and VRX8, --sysman for .zip files of VRXSM and VRX3, otherwise an update "
              "of the image chosen in the panel. With I2C ticked, --if=i2c is added. The tool's "
              "output goes to the console and to a vrxupdater_*.okv file; when the tool asks "
              "yes or no, a box asks you. Run all starts the tasks one after another, skips a "
              "task whose file is missing and stops after a task that fails, so a device is "
              "never flashed past an error.</p>"
              "<p><b>The docks are in a mess.</b><br>"
              "Layout &gt; Restore Layout puts them back; F3 and F4 step through the named "
              "layouts. Layout &gt; Startup Layout chooses what the next start shows, and "
              "Save layout... keeps an arrangement in a file.</p>"
              "<p><b>Keys in a text panel</b><br>"
              "Ctrl+F search, / and ? next and previous match, J and K one line down and up, "
              "Ctrl+D and Ctrl+U one page down and up, Ctrl+P prints the monitor's command "
              "usage.</p>")
        .arg(applicationName);
}
