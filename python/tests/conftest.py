pytest_plugins = ["vl_pd.fixtures"]
