#pragma once

namespace external_host {

/// Destroys the process-wide singletons, the latest first.
void destroyProcessScope();

/// How many wrapped objects have been retracted.
int retractedObjects();

} // namespace external_host
