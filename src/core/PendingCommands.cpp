// Commands that the keys already reach but whose areas are still to come.
// Each does nothing yet, so its key is consumed without effect; the comment
// says which area fills it, and that area moves the body to its own file.
#include "core/AppState.h"

// EDITOR and the VIEWER's preview loading fill these.
