// The headless host: plays After Effects for tests, tools and benchmarks.
