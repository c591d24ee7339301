#pragma once

#include "host/platform.h"

class KzApDocument;

/// The idle check is a posted window message, "WM_KZDX_IDLE_CHECK", which carries a document. A filter
/// takes it out of the message loop. If the document is still current and idle then, each of its running
/// timers is tested.

/// Posts an idle check of the document. Has no effect without a main window.
void kzdxPostIdleCheck(KzApDocument* document);

/// The filter. Takes every idle check (1), whether or not timers are tested; ignores every other message
/// (0) after one comparison. Timers are tested in ascending order of address; the next timer is chosen
/// before each test. Their receivers may re-enter, including closing the document and unloading the module.
int kzdxIdleCheckFilter(const KzPlatform::Message* message) noexcept;
