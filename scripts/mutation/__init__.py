"""What scripts/mutate is made of: source (what of a file counts), operators (the steps), sample (which of them), rooms
(which tests), workshop (a copy of the project, built and tested), excuses (what cannot be noticed) and report."""
