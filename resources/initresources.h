// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

// Pulls the compiled-in images into a program that links the static resource library.
void initResources();
