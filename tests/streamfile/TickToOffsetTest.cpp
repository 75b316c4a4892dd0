// tbd
