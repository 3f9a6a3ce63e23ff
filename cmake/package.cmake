# package
