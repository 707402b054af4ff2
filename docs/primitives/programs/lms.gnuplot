set terminal pngcairo size 800,400 font 'Sans,10'
set xlabel 'time, s'
set ylabel 'level, dB'
set yrange [-75:0]
set grid
set key top right
set arrow from 2, graph 0 to 2, graph 1 nohead dashtype 2 linecolor '#808080'
plot data using 1:2 with lines linewidth 2 linecolor '#c05030' title 'microphone', \
     data using 1:4 with lines linewidth 2 linecolor '#90b060' title 'without echo, mu = 10^{-11}', \
     data using 1:3 with lines linewidth 2 linecolor '#4070a0' title 'without echo, mu = 10^{-10}'
