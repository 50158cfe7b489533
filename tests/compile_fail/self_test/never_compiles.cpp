#error expected diagnostic
