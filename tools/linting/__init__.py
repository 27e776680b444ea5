"""The checks of tools/lint, one module for each kind of file."""
