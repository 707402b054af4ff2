set terminal pngcairo size 480,480 font 'Sans,10'
set xlabel 'd[i]'
set ylabel 'd[i+1]'
set size square
set xrange [0:1]
set yrange [0:1]
plot data with points pt 7 ps 0.25 linecolor '#4070a0' notitle
