set terminal pngcairo size 800,400 font 'Sans,10'
set xlabel 'elements'
set ylabel 'relative error'
set logscale x 2
set logscale y
set format x '2^{%L}'
set format y '10^{%T}'
set xtics 4
set grid
set key top left
plot data using 1:3 with linespoints pt 7 linecolor '#c05030' title 'summed in single precision', \
     data using 1:2 with linespoints pt 7 linecolor '#4070a0' title 'ippsSum\_32f', \
     2.0**-24 with lines dashtype 2 linecolor '#808080' title 'one rounding, at most 2^{-24}'
