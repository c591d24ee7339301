#pragma once

#include "host/platform.h"

class KzApDocument;

/// The idle check rides on the host's message loop: a message "WM_KZDX_IDLE_CHECK" that carries a document is
/// posted to the main window, and a filter takes it back out. If the document is still current and idle by
/// then, the due test of each of its running timers runs.

/// Posts an idle check of the document; without a main window nothing is posted.
void kzdxPostIdleCheck(KzApDocument* document);

/// The filter. Takes every idle check (1), whether or not anything runs; leaves every other message alone (0)
/// after one comparison. Timers are examined in ascending order of address, the next one chosen before each
/// examination; what they call may do anything, closing the document and unloading the module included.
int kzdxIdleCheckFilter(const KzPlatform::Message* message) noexcept;
