"""The fixtures come as pytest finds them where the package is installed; here it is only built."""
pytest_plugins = ["kx.pytest_plugin"]
