#pragma once

// A drill of the settings sheet for tests that kill the running program: set
// SKYCHART_SETTINGS_DRILL=ROUNDS in the environment and, once the main frame is up, Skychart
// prints "ready", opens "Chart Settings..." and then, ROUNDS times, ticks or clears "Show Grid"
// (stored at once) and prints "grid 0|1", changes three values of the display page (the round
// r = the stored "Scrolling By Items Not Percent" + 1, wrapping after 1000: that value r,
// "PTS INDEX" r mod 11 and "Grid Style" r mod 5), presses Apply (OK when r is a multiple of 4,
// and in the last round, then opens the sheet again) and prints "ok r". Each line is printed on
// standard output once what it reports is stored. After the last round it quits.

class CMainFrame;

// The number of rounds SKYCHART_SETTINGS_DRILL asks for; 0 when it is not set or not a positive
// whole number.
int SettingsDrillRounds();

// Starts the drill on `frame` once the event loop runs.
void StartSettingsDrill(CMainFrame& frame, int rounds);
