set terminal pngcairo size 800,400 font 'Sans,10'
set xlabel 'points N'
set ylabel 'error, of epsilon times the root of log_2 N'
set logscale x 2
set format x '2^{%L}'
set xrange [2:2**20]
set yrange [0:1.7]
set ytics 0.2
set xtics 4
set grid
set key top right
plot 1 with lines dashtype 2 linecolor '#808080' title 'goal', \
     data skip 2 using (2**$1):6 with linespoints pt 7 linecolor '#90b060' \
       title 'complex double, forward', \
     data skip 2 using (2**$1):2 with linespoints pt 7 linecolor '#4070a0' \
       title 'complex float, forward', \
     data skip 2 using (2**$1):3 with points pt 6 ps 1.5 linecolor '#4070a0' \
       title 'complex float, inverse', \
     data skip 2 using (2**$1):4 with linespoints pt 7 linecolor '#c05030' \
       title 'real float, forward', \
     data skip 2 using (2**$1):5 with points pt 6 ps 1.5 linecolor '#c05030' \
       title 'real float, inverse'
