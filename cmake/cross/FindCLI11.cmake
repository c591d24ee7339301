include(BorrowHeaders)
zelvane_borrow_headers(CLI11::CLI11 CLI)
set(CLI11_FOUND TRUE)
