// Filled in by the flow tests.
