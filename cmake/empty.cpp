// Placeholder translation unit for a subsystem folder that has no module yet.
