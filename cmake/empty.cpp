// Placeholder so a folder without sources still forms a library.
