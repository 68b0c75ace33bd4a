// Placeholder: tests of the binary-frame operations follow here.
