# Install rules that belong to no one target, and the zip.
