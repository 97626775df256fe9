int inner;
