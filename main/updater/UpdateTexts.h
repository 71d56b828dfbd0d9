// What a person is told about updates. Pure functions; any thread.
#pragma once

#include "platform/update/UpdatePreparation.h"

namespace corvella::UpdateTexts {

// Why there is no update, in a sentence or two; empty where there is nothing to tell.
[[nodiscard]] QString sentence(UpdateFault fault);

// "12.3 of 45.6 MB"
[[nodiscard]] QString progress(qint64 doneBytes, qint64 totalBytes);

} // namespace corvella::UpdateTexts
