#include "frame/application.h"
#include "frame/boundary.h"
#include "zelvane/zelvane.h"

ZELVANE_EXPORT std::int32_t kzdxDocTimerAttach(KzApDocument* document, KzDxClientCallback callback,
                                               std::uint32_t interval, std::int32_t attach) noexcept {
    return kzdxAtBoundary(std::int32_t{0}, [&] {
        if (callback == nullptr) return 0;
        KzDxDocument* const record = kzdxRecordOf(document);
        if (record == nullptr) return 0;
        return record->timerAttach(callback, interval, attach != 0) == Orvo::ok ? 1 : 0;
    });
}
