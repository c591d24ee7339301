#include "core/boundary.h"
#include "frame/application.h"
#include "zelvane/zelvane.h"

ZELVANE_EXPORT std::int32_t kzdxDocTimerAttach(KzApDocument* document, KzDxClientCallback callback,
                                               std::uint32_t interval, std::int32_t attach) noexcept {
    return kzdxAtBoundary(std::int32_t{0}, [&] {
        if (callback == nullptr) return 0;
        KzDxDocument* const data = kzdxDocDataOf(document);
        if (data == nullptr) return 0;
        return data->timerAttach(callback, interval, attach != 0) == Orvo::ok ? 1 : 0;
    });
}
