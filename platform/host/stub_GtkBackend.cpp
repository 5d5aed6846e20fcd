// Built instead of the GTK backend when GTK 3 is not available: there is never a
// display, so the window layer keeps its null backend.
