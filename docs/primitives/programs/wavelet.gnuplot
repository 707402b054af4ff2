set terminal pngcairo size 800,640 font 'Sans,10'
set multiplot layout 4,1 margins 0.1,0.97,0.08,0.96 spacing 0.02
set xrange [0:1024]
set xtics 128 format ''
set grid
set key top right
set style line 1 linecolor '#4070a0'
set ytics 8000
set yrange [-11000:16000]
plot data index 0 with lines linestyle 1 title 'signal'
set ytics 200
set yrange [-320:320]
plot data index 1 with impulses linestyle 1 title 'high band of level 1'
plot data index 2 with impulses linestyle 1 title 'high band of level 2'
set ytics 16000
set yrange [-22000:32000]
set xtics format '%g'
set xlabel 'time, samples'
plot data index 3 with steps linestyle 1 title 'low band of level 2'
